#include <asio/bind_cancellation_slot.hpp>
#include <asio/cancellation_signal.hpp>
#include <fstream>
#include <future>
#include <gmock/gmock.h>
#include <variant>

#include "Linux/Http/CurlHttpClient.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/TemporaryFolder.h"
#include "tools/FakeService/FakeService.h"

namespace quillant {
namespace {

using Kind = TransportError::Kind;
using Failure = FakeServiceFailure;
using std::chrono::milliseconds;

const std::string secret = "qt-secret-token";

/// A status, or how the transfer failed.
using Ending = std::variant<int, Kind>;

struct Outcome {
  Ending ending;
  HttpResponse response;
  std::string errorText;
};

Outcome send(HttpClient& client, HttpRequest request) {
  try {
    const auto response = runBlocking(client.send(std::move(request)));
    return {response.status, response, {}};
  } catch (const TransportError& error) {
    EXPECT_NE(error.description(), "");
    return {error.kind(), {}, error.description()};
  }
}

HttpRequest get(const std::string& url, milliseconds timeout = std::chrono::seconds(60)) {
  return {
      .method = "GET", .url = url, .headers = {{"Authorization", "Bearer " + secret}}, .timeout = timeout};
}

HttpRequest put(const std::string& url, const std::filesystem::path& file) {
  return {.method = "PUT", .url = url, .body = HttpFileBody{file}};
}

/// From /proc/self/status, in bytes.
std::int64_t memoryFigure(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    std::int64_t kilobytes = 0;
    if (word == name + ":" && status >> kilobytes) return kilobytes * 1024;
  }
  return -1;
}

class CurlHttpClientTest : public testing::Test {
 protected:
  std::filesystem::path file(std::int64_t size) const {
    std::ofstream(folder / "video.mp4").close();
    std::filesystem::resize_file(folder / "video.mp4", static_cast<std::uintmax_t>(size));
    return folder / "video.mp4";
  }

  TemporaryFolder folder;
  FakeService service{{.folder = folder / "service"}};
  std::unique_ptr<HttpClient> client = CurlHttpClient::make();
  /// Counts what it is sent, and answers.
  std::atomic<std::int64_t> received = 0;
  std::atomic<int> requests = 0;
  std::atomic<int> closed = 0;
  LoopbackRequest seen;
  LoopbackServer server{[this](LoopbackExchange& exchange) -> Task<> {
    ++requests;
    seen = exchange.request;
    co_await exchange.readBody([this](std::string_view bytes) { received += std::ssize(bytes); });
    co_await exchange.answer(418, "text/plain", "short and stout");
    try {
      co_await exchange.hang();
    } catch (const std::system_error&) {
      ++closed;
    }
  }};
};

TEST_F(CurlHttpClientTest, SendsWhatItIsGivenAndNothingElseOfWeight) {
  const auto outcome = send(*client, {.method = "POST",
                                      .url = server.origin() + "/a/b?c=d",
                                      .headers = {{"Content-Type", "application/json"}},
                                      .body = R"({"a": 1})"});
  EXPECT_EQ(outcome.ending, Ending(418)) << outcome.errorText;
  EXPECT_EQ(outcome.response.body, "short and stout");
  EXPECT_EQ(seen.method + " " + seen.url.text(), "POST " + server.origin() + "/a/b?c=d");
  EXPECT_EQ(received, 8);
  EXPECT_EQ(seen.header("content-type"), "application/json");
  EXPECT_FALSE(seen.headers.contains("cookie") || seen.headers.contains("authorization"));
  // A kept connection that turns out dead is what tempts libraries to send a request twice.
  EXPECT_TRUE(eventually([this] { return closed == 1; }));
}

TEST_F(CurlHttpClientTest, SendsNothingInTheClearThroughAProxy) {
  ::setenv("http_proxy", "http://127.0.0.1:1", 1);
  EXPECT_EQ(send(*client, get(server.origin())).ending, Ending(418));
  ::unsetenv("http_proxy");
}

TEST_F(CurlHttpClientTest, StreamsAGigabyteInFlatMemoryAndReportsEachByteOnce) {
  for (const std::int64_t size : {0, 1, 70'000, 1'000'000'000}) {
    const auto video = file(size);
    received = 0;
    auto request = put(server.origin(), video);
    std::vector<std::int64_t> reports;
    request.progress = [&](std::int64_t sent, std::int64_t total) {
      EXPECT_EQ(total, size);
      reports.push_back(sent);
    };
    std::ofstream("/proc/self/clear_refs") << "5";  // the peak starts again from here
    const auto before = memoryFigure("VmRSS");
    EXPECT_EQ(send(*client, std::move(request)).ending, Ending(418));
    EXPECT_LT(memoryFigure("VmHWM") - before, 40'000'000);
    EXPECT_EQ(received, size);
    EXPECT_TRUE(std::is_sorted(reports.begin(), reports.end(), std::less_equal<>()));
    EXPECT_EQ(reports.empty() ? 0 : reports.back(), size);
  }
}

TEST_F(CurlHttpClientTest, AnswersThatAreNoGoodEndInBoundedTimeAndMemory) {
  const std::pair<FakeServiceFault, Ending> cases[] = {
      {{.failure = Failure::body, .status = 200, .body = "<!doctype html>"}, 200},
      {{.failure = Failure::hugeBody, .status = 503}, 503},
      {{.failure = Failure::redirect, .location = server.origin()}, 302},
      {{.failure = Failure::headerBomb}, Kind::notHTTP},
      {{.failure = Failure::cut}, Kind::interrupted},
      {{.failure = Failure::lostAnswer}, Kind::interrupted},
      {{.failure = Failure::hang}, Kind::timedOut},
      {{.failure = Failure::slowDrip}, Kind::timedOut},
  };
  for (const auto& [fault, expected] : cases) {
    SCOPED_TRACE(rawText(fault.failure));
    service.fail(fault);
    const milliseconds timeout(expected == Ending(Kind::timedOut) ? 300 : 60'000);
    const auto outcome = send(*client, get(service.origin() + "/api/me?signature=" + secret, timeout));
    EXPECT_EQ(outcome.ending, expected) << outcome.errorText;
    EXPECT_LE(outcome.response.body.size(), HttpResponse::longestBody);
    EXPECT_EQ(outcome.response.bodyWasCut, fault.failure == Failure::hugeBody);
    EXPECT_EQ(outcome.errorText.find(secret), std::string::npos) << outcome.errorText;
  }
  EXPECT_EQ(requests, 0) << "nobody is sent elsewhere with a token";
}

TEST_F(CurlHttpClientTest, SaysWhyNoAnswerCame) {
  LoopbackServer gibberish(
      [](LoopbackExchange& exchange) -> Task<> { co_await exchange.write("220 mail\r\n\r\n"); });
  LoopbackServer mute([](LoopbackExchange&) -> Task<> { co_return; });
  LoopbackServer truncating([&](LoopbackExchange& exchange) -> Task<> {
    co_await exchange.readBody([&](std::string_view) { file(1'000'000); });
  });
  LoopbackServer hasty([](LoopbackExchange& exchange) -> Task<> {
    co_await exchange.write("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
  });
  const auto nobody = LoopbackServer([](LoopbackExchange&) -> Task<> { co_return; }).origin();
  auto injected = get(server.origin());
  injected.headers[0].value += "\r\nX-Injected: 1";
  const std::pair<HttpRequest, Ending> cases[] = {
      {get(nobody), Kind::unreachable},
      {get("file:///etc/passwd"), Kind::unreachable},
      {get("not a url"), Kind::unreachable},
      {injected, Kind::unreachable},
      {get(gibberish.origin()), Kind::notHTTP},
      {get(mute.origin()), Kind::interrupted},
      {put(server.origin(), folder / "missing.mp4"), Kind::unreadableBody},
      {put(server.origin(), folder.path()), Kind::unreadableBody},
      {put(hasty.origin(), file(50'000'000)), Kind::interrupted},
      {put(truncating.origin(), file(50'000'000)), Kind::unreadableBody},
  };
  for (const auto& [request, expected] : cases) {
    const auto outcome = send(*client, request);
    EXPECT_EQ(outcome.ending, expected) << request.url << ": " << outcome.errorText;
  }
  EXPECT_EQ(requests, 0);
}

TEST_F(CurlHttpClientTest, RefusesACertificateThatNobodyVouchesFor) {
  const auto key = (folder / "key.pem").string();
  const auto certificate = (folder / "certificate.pem").string();
  ASSERT_EQ(
      ChildProcess({"openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=127.0.0.1",
                    "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", key, "-out", certificate})
          .wait(),
      0);
  ChildProcess openssl(
      {"openssl", "s_server", "-accept", "127.0.0.1:0", "-www", "-key", key, "-cert", certificate});
  const auto line = openssl.readLineWith("ACCEPT");
  ASSERT_TRUE(line);
  const auto outcome = send(*client, get("https://127.0.0.1:" + line->substr(line->rfind(':') + 1)));
  EXPECT_EQ(outcome.ending, Ending(Kind::unreachable));
  EXPECT_THAT(outcome.errorText, testing::HasSubstr("certificate"));
}

TEST_F(CurlHttpClientTest, AnUploadThatStandsStillEndsByTimeByCancellationAndWithItsClient) {
  asio::cancellation_signal signal;
  const auto strand = makeStrand();
  const std::function<void()> nothing = [] {};
  const std::function<void()> cancel = [&] {
    asio::post(strand, [&] { signal.emit(asio::cancellation_type::terminal); });
  };
  const std::function<void()> destroy = [&] { client.reset(); };
  for (const auto& [timeout, interfere, expected] : {std::tuple(300, nothing, Kind::timedOut),
                                                     {60'000, cancel, Kind::cancelled},
                                                     {60'000, destroy, Kind::cancelled}}) {
    std::promise<void> underWay;
    LoopbackServer stalling([&](LoopbackExchange& exchange) -> Task<> {
      co_await exchange.readBody([](std::string_view) {}, 100'000);
      underWay.set_value();
      co_await sleepFor(std::chrono::hours(1));
    });
    auto request = put(stalling.origin(), file(100'000'000));
    request.timeout = milliseconds(timeout);
    std::promise<Kind> ended;
    asio::co_spawn(strand, client->send(std::move(request)),
                   asio::bind_cancellation_slot(signal.slot(), [&](std::exception_ptr error, HttpResponse) {
                     try {
                       if (error) std::rethrow_exception(error);
                     } catch (const TransportError& failure) {
                       ended.set_value(failure.kind());
                     }
                   }));
    underWay.get_future().wait();
    interfere();
    EXPECT_EQ(ended.get_future().get(), expected);
  }
}

TEST_F(CurlHttpClientTest, SendsManyAtATime) {
  std::vector<std::future<HttpResponse>> answers;
  for (int index = 0; index < 32; ++index)
    answers.push_back(
        std::async(std::launch::async, [&] { return runBlocking(client->send(get(server.origin()))); }));
  for (auto& answer : answers) EXPECT_EQ(answer.get().status, 418);
}

}  // namespace
}  // namespace quillant
