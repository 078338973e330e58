#include <asio/bind_cancellation_slot.hpp>
#include <asio/cancellation_signal.hpp>
#include <asio/use_future.hpp>
#include <fmt/format.h>
#include <fstream>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <variant>

#include "Linux/Http/CurlHttpClient.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/FakeService/FakeService.h"
#include "Tests/Support/FakeService/LoopbackServer.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

using Kind = TransportError::Kind;
using std::chrono::milliseconds;

const std::string secret = "qt-secret-token";

/// The answer, or how the transfer failed.
struct Outcome {
  std::variant<HttpResponse, Kind> result;
  std::string errorText;

  const HttpResponse* response() const { return std::get_if<HttpResponse>(&result); }
  std::optional<Kind> kind() const {
    const auto* found = std::get_if<Kind>(&result);
    return found ? std::optional(*found) : std::nullopt;
  }
};

Outcome send(HttpClient& client, HttpRequest request) {
  try {
    return {runBlocking(client.send(std::move(request))), {}};
  } catch (const TransportError& error) {
    return {error.kind(), error.description()};
  }
}

HttpRequest get(const std::string& url) {
  return {.method = "GET", .url = url, .headers = {{"Authorization", "Bearer " + secret}}};
}

HttpRequest put(const std::string& url, const std::filesystem::path& file) {
  return {
      .method = "PUT", .url = url, .headers = {{"Content-Type", "video/mp4"}}, .body = HttpFileBody{file}};
}

std::string header(const HttpResponse& response, std::string_view name) {
  for (const auto& candidate : response.headers)
    if (candidate.name == name) return candidate.value;
  return {};
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
  TemporaryFolder folder;
  FakeService service{{.folder = folder / "service"}};
  std::unique_ptr<HttpClient> client = CurlHttpClient::make();

  std::filesystem::path file(std::uintmax_t size) const {
    const auto path = folder / "video.mp4";
    std::ofstream(path).close();
    std::filesystem::resize_file(path, size);
    return path;
  }
};

TEST_F(CurlHttpClientTest, SendsWhatItIsGivenAndNothingElseOfWeight) {
  LoopbackRequest seen;
  std::string seenBody;
  LoopbackServer server([&](LoopbackExchange& exchange) -> Task<> {
    seen = exchange.request;
    seenBody = co_await exchange.readBody();
    LoopbackExchange::Headers headers;
    headers.emplace_back("X-Kept", " as it is ");
    co_await exchange.answer(418, "text/plain", "short and stout", headers);
  });
  const auto outcome = send(*client, {.method = "POST",
                                      .url = server.origin() + "/a/b?c=d",
                                      .headers = {{"Content-Type", "application/json"}},
                                      .body = R"({"a": 1})"});
  ASSERT_TRUE(outcome.response()) << outcome.errorText;
  EXPECT_EQ(outcome.response()->status, 418);
  EXPECT_EQ(outcome.response()->body, "short and stout");
  EXPECT_EQ(header(*outcome.response(), "X-Kept"), "as it is");
  EXPECT_EQ(seen.method + " " + seen.path + " " + seen.query["c"], "POST /a/b d");
  EXPECT_EQ(seenBody, R"({"a": 1})");
  EXPECT_EQ(seen.headers["content-type"], "application/json");
  EXPECT_FALSE(seen.headers.contains("cookie") || seen.headers.contains("authorization"));
}

TEST_F(CurlHttpClientTest, StreamsFilesAndReportsEachByteOnce) {
  for (const std::int64_t size : {0, 1, 70'000, 3'000'000}) {
    std::uint64_t received = 0;
    LoopbackServer server([&](LoopbackExchange& exchange) -> Task<> {
      co_await exchange.readBody([&received](std::string_view bytes) { received += bytes.size(); });
      co_await exchange.answer(200, "text/plain", "");
    });
    auto request = put(server.origin(), file(static_cast<std::uintmax_t>(size)));
    std::vector<std::int64_t> reports;
    request.progress = [&](std::int64_t sent, std::int64_t total) {
      EXPECT_EQ(total, size);
      reports.push_back(sent);
    };
    const auto outcome = send(*client, std::move(request));
    ASSERT_TRUE(outcome.response()) << outcome.errorText;
    EXPECT_EQ(received, static_cast<std::uint64_t>(size));
    EXPECT_TRUE(std::is_sorted(reports.begin(), reports.end()));
    EXPECT_EQ(std::adjacent_find(reports.begin(), reports.end()), reports.end());
    EXPECT_EQ(reports.empty() ? 0 : reports.back(), size);
  }
}

TEST_F(CurlHttpClientTest, UploadsAGigabyteInFlatMemory) {
  constexpr std::uint64_t size = 1'000'000'000;
  std::uint64_t received = 0;
  LoopbackServer server([&](LoopbackExchange& exchange) -> Task<> {
    co_await exchange.readBody([&received](std::string_view bytes) { received += bytes.size(); });
    co_await exchange.answer(200, "text/plain", "");
  });
  const auto video = file(size);
  std::ofstream("/proc/self/clear_refs") << "5";  // the peak starts again from here
  const auto before = memoryFigure("VmRSS");
  const auto outcome = send(*client, put(server.origin(), video));
  ASSERT_TRUE(outcome.response()) << outcome.errorText;
  EXPECT_EQ(received, size);
  const auto growth = memoryFigure("VmHWM") - before;
  RecordProperty("peakAboveStart", static_cast<int>(growth));
  EXPECT_LT(growth, 40'000'000);
}

TEST_F(CurlHttpClientTest, AnswersThatAreNoGoodEndInBoundedTimeAndMemory) {
  struct Case {
    FakeServiceFault fault;
    std::variant<int, Kind> expected;  ///< The status that is handed on, or how it fails.
  };
  using Failure = FakeServiceFailure;
  const auto fault = [](Failure failure, int status = 500) {
    return FakeServiceFault{.step = FakeServiceStep::me, .failure = failure, .status = status};
  };
  const Case cases[] = {
      {fault(Failure::html), 200},
      {fault(Failure::halfJSON), 200},
      {fault(Failure::hugeBody, 503), 503},
      {fault(Failure::headerBomb), Kind::notHTTP},
      {fault(Failure::cut), Kind::interrupted},
      {fault(Failure::lostAnswer), Kind::interrupted},
      {fault(Failure::hang), Kind::timedOut},
      {fault(Failure::slowDrip), Kind::timedOut},
  };
  for (const auto& [broken, expected] : cases) {
    SCOPED_TRACE(rawText(broken.failure));
    service.fail(broken);
    auto request = get(service.origin() + "/api/me?signature=" + secret);
    if (expected == std::variant<int, Kind>(Kind::timedOut)) request.timeout = milliseconds(300);
    const auto outcome = send(*client, std::move(request));
    if (const auto* status = std::get_if<int>(&expected)) {
      ASSERT_TRUE(outcome.response()) << outcome.errorText;
      EXPECT_EQ(outcome.response()->status, *status);
      EXPECT_LE(outcome.response()->body.size(), HttpResponse::longestBody);
      EXPECT_EQ(outcome.response()->bodyWasCut, broken.failure == Failure::hugeBody);
    } else {
      EXPECT_EQ(outcome.kind(), std::get<Kind>(expected));
      EXPECT_EQ(outcome.errorText.find(secret), std::string::npos) << outcome.errorText;
    }
  }
}

TEST_F(CurlHttpClientTest, HandsRedirectsOnAndVisitsNobodyElse) {
  std::atomic<int> visits = 0;
  LoopbackServer other([&](LoopbackExchange& exchange) -> Task<> {
    ++visits;
    co_await exchange.answer(200, "text/plain", "");
  });
  service.fail(
      {.step = FakeServiceStep::me, .failure = FakeServiceFailure::redirect, .location = other.origin()});
  const auto outcome = send(*client, get(service.origin() + "/api/me"));
  ASSERT_TRUE(outcome.response()) << outcome.errorText;
  EXPECT_EQ(outcome.response()->status, 302);
  EXPECT_EQ(header(*outcome.response(), "Location"), other.origin());
  EXPECT_EQ(visits, 0);
}

TEST_F(CurlHttpClientTest, NeverRepeatsARequestByItself) {
  // Kept connections that turn out dead are what tempts libraries to.
  std::atomic<int> requests = 0;
  LoopbackServer server([&](LoopbackExchange& exchange) -> Task<> {
    const std::string body = co_await exchange.readBody();
    if (++requests == 1)
      co_await exchange.answer(200, "text/plain", "");
    else
      co_await exchange.write("");  // hangs up without a word
  });
  const HttpRequest post{.method = "POST", .url = server.origin(), .body = "{}"};
  EXPECT_TRUE(send(*client, post).response());
  EXPECT_EQ(send(*client, post).kind(), Kind::interrupted);
  EXPECT_EQ(requests, 2);
}

TEST_F(CurlHttpClientTest, SaysWhyNoAnswerCame) {
  LoopbackServer gibberish(
      [](LoopbackExchange& exchange) -> Task<> { co_await exchange.write("220 mail\r\n\r\n"); });
  std::string nobody;
  {
    const LoopbackServer gone([](LoopbackExchange&) -> Task<> { co_return; });
    nobody = gone.origin();
  }
  auto injected = get(service.origin() + "/api/me");
  injected.headers = {{"Authorization", "Bearer x\r\nX-Injected: 1"}};
  const std::pair<HttpRequest, Kind> cases[] = {
      {get(nobody), Kind::unreachable},
      {get("file:///etc/passwd"), Kind::unreachable},
      {get("not a url"), Kind::unreachable},
      {injected, Kind::unreachable},
      {get(gibberish.origin()), Kind::notHTTP},
      {put(service.origin() + "/x", folder / "missing.mp4"), Kind::unreadableBody},
      {put(service.origin() + "/x", folder.path()), Kind::unreadableBody},
  };
  for (const auto& [request, expected] : cases) {
    const auto outcome = send(*client, request);
    EXPECT_EQ(outcome.kind(), expected) << request.url << ": " << outcome.errorText;
    EXPECT_NE(outcome.errorText, "");
  }
  EXPECT_TRUE(service.received().empty());
}

TEST_F(CurlHttpClientTest, RefusesACertificateThatNobodyVouchesFor) {
  const auto key = (folder / "key.pem").string();
  const auto certificate = (folder / "certificate.pem").string();
  ASSERT_EQ(
      ChildProcess({"openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=127.0.0.1",
                    "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", key, "-out", certificate})
          .wait(),
      0);
  ChildProcess server(
      {"openssl", "s_server", "-accept", "127.0.0.1:0", "-www", "-key", key, "-cert", certificate});
  const auto line = server.readLineWith("ACCEPT");
  ASSERT_TRUE(line);
  const auto outcome = send(*client, get("https://127.0.0.1:" + line->substr(line->rfind(':') + 1)));
  EXPECT_EQ(outcome.kind(), Kind::unreachable);
  EXPECT_THAT(outcome.errorText, testing::HasSubstr("certificate"));
}

TEST_F(CurlHttpClientTest, AFileThatEndsEarlyEndsTheUpload) {
  const auto video = file(50'000'000);
  LoopbackServer server([&](LoopbackExchange& exchange) -> Task<> {
    co_await exchange.readBody([&](std::string_view) { std::filesystem::resize_file(video, 1'000'000); });
  });
  EXPECT_EQ(send(*client, put(server.origin(), video)).kind(), Kind::unreadableBody);
}

/// Starts an upload that the server lets begin and then leaves waiting, calls `interfere` once it is under
/// way, and returns how it ended.
Kind stalledUpload(std::unique_ptr<HttpClient>& client, const std::filesystem::path& video,
                   milliseconds timeout,
                   const std::function<void(asio::cancellation_signal&, const Executor&)>& interfere) {
  std::promise<void> underWay;
  LoopbackServer server([&](LoopbackExchange& exchange) -> Task<> {
    co_await exchange.readBody([](std::string_view) {}, 100'000);
    underWay.set_value();
    co_await sleepFor(std::chrono::hours(1));
  });
  auto request = put(server.origin(), video);
  request.timeout = timeout;
  asio::cancellation_signal signal;
  const auto strand = makeStrand();
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
  interfere(signal, strand);
  return ended.get_future().get();
}

TEST_F(CurlHttpClientTest, AnUploadThatStandsStillEndsByTimeByCancellationAndWithItsClient) {
  const auto video = file(100'000'000);
  EXPECT_EQ(stalledUpload(client, video, milliseconds(300), [](auto&, auto&) {}), Kind::timedOut);
  const auto cancel = [](asio::cancellation_signal& signal, const Executor& strand) {
    asio::post(strand, [&signal] { signal.emit(asio::cancellation_type::terminal); });
  };
  EXPECT_EQ(stalledUpload(client, video, std::chrono::seconds(60), cancel), Kind::cancelled);
  const auto destroy = [this](auto&, auto&) { client.reset(); };
  EXPECT_EQ(stalledUpload(client, video, std::chrono::seconds(60), destroy), Kind::cancelled);
}

TEST_F(CurlHttpClientTest, SendsManyAtATime) {
  const auto token = service.signIn();
  std::vector<std::future<HttpResponse>> answers;
  for (int index = 0; index < 32; ++index) {
    HttpRequest request{.method = "GET",
                        .url = service.origin() + "/api/me",
                        .headers = {{"Authorization", "Bearer " + token}}};
    answers.push_back(
        asio::co_spawn(backgroundExecutor(), client->send(std::move(request)), asio::use_future));
  }
  for (auto& answer : answers) EXPECT_EQ(answer.get().status, 200);
}

}  // namespace
}  // namespace quillant
