#include <gtest/gtest.h>

#include "Core/JSON.h"
#include "QuillantCloud/APIError.h"
#include "QuillantCloud/QuillantAPI.h"
#include "Tests/QuillantCloud/CloudFakes.h"

namespace quillant {
namespace {

class QuillantAPITest : public testing::Test {
 protected:
  std::shared_ptr<ScriptedHttpClient> http = std::make_shared<ScriptedHttpClient>();
  QuillantAPI api{"to/ken+=", http, *URL::parse("https://x.test/base")};
};

TEST_F(QuillantAPITest, SendsWhatTheServiceExpects) {
  const std::string reservation =
      R"({"video_id":"v","slug":"s","share_url":"u","put_video_url":"pv","put_thumb_url":"pt","more":1)";
  http->answer(200, R"({"id":"1","email":"a@b","plan":"pro","limits":{"maxVideos":3}})");
  http->answer(201, reservation + "}");
  http->answer(200, reservation + "}");
  http->answer(200, reservation + R"(,"video_present":true,"thumb_present":false})");
  for (int i = 0; i < 3; ++i) http->answer(200, R"({"video_id":"v","slug":"s","status":"ready"})");

  EXPECT_EQ(runBlocking(api.me()).limits->maxVideos, 3);
  EXPECT_EQ(runBlocking(api.createUpload("T", 10, 20, 30, 40)).putCaptionsURL, std::nullopt);
  runBlocking(api.createUpload("", 10, 20, 30, 40));
  EXPECT_TRUE(runBlocking(api.refreshPresign("v")).videoPresent);
  for (const auto& captions :
       {CaptionsDeclaration::unchanged(), CaptionsDeclaration::none(), CaptionsDeclaration::language("de")})
    EXPECT_TRUE(runBlocking(api.completeUpload("v", 10, captions)).isReady());

  const std::string base = "https://x.test/base/api/";
  const HttpHeader authorization{"Authorization", "Bearer to/ken+="};
  std::vector<std::string> sent;
  for (const auto& request : http->requests) {
    const auto* body = std::get_if<std::string>(&request.body);
    sent.push_back(request.method + " " + request.url + (body ? " " + *body : ""));
    auto headers = std::vector<HttpHeader>{authorization};
    if (body) headers.insert(headers.begin(), {"Content-Type", "application/json"});
    EXPECT_EQ(request.headers, headers);
    EXPECT_EQ(request.timeout, std::chrono::seconds(60));
  }
  EXPECT_EQ(sent, (std::vector<std::string>{
                      "GET " + base + "me",
                      "POST " + base +
                          R"(uploads {"duration_ms":20,"height":40,"size_bytes":10,"title":"T","width":30})",
                      "POST " + base + R"(uploads {"duration_ms":20,"height":40,"size_bytes":10,"width":30})",
                      "POST " + base + "uploads/v/presign {}",
                      "POST " + base + R"(videos/v/complete {"size_bytes":10})",
                      "POST " + base + R"(videos/v/complete {"captions":null,"size_bytes":10})",
                      "POST " + base + R"(videos/v/complete {"captions":{"language":"de"},"size_bytes":10})",
                  }));
}

TEST_F(QuillantAPITest, TellsFailuresApart) {
  struct Case {
    std::variant<HttpResponse, TransportError> answer;
    std::string text;  ///< Of an answer that cannot be understood, its beginning.
    bool isRetryable = false;
  };
  const auto answer = [](int status, std::string body) { return HttpResponse{status, body}; };
  std::vector<Case> cases = {
      {answer(401, R"({"error":"no","code":"expired"})"),
       "authentication expired — run `quillant login` again"},
      {answer(500, "<html>Oops</html>"), "server error 500", true},
      {answer(409, R"({"error":"gone","code":"object_missing"})"),
       "server error 409: gone code=object_missing"},
      {answer(403, R"({"code":"quota"})"), "server error 403: code=quota"},
      {answer(429, R"({"error":"slow down","code":7})"), "server error 429: slow down", true},
      {answer(499, "[1]"), "server error 499"},
      {answer(302, ""), "server error 302"},
      {TransportError(TransportError::Kind::timedOut, "too slow"), "network error: too slow", true},
      {TransportError(TransportError::Kind::notHTTP, "SSH-2.0"), "server error -1: no HTTP response"},
      {HttpResponse{.status = 200, .body = "{}", .bodyWasCut = true},
       "could not parse server response: the answer is longer than any that is expected"},
  };
  for (const auto* body : {"", "<!doctype html>", R"({"id":"1","em)", R"({"id":"1","email":"a@b"})", "[]",
                           "null", R"({"id":1,"email":"a","plan":"p"})",
                           R"({"id":"1","email":"a","plan":"p","usage":{"videos":"3","bytes":1}})"})
    cases.push_back({answer(200, body), "could not parse server response: "});
  for (const auto& [given, text, isRetryable] : cases) {
    http->answers = {given};
    try {
      runBlocking(api.me());
      ADD_FAILURE() << text;
    } catch (const APIError& error) {
      const bool isWhole = !text.ends_with(' ');
      EXPECT_EQ(isWhole ? error.description() : error.description().substr(0, text.size()), text);
      EXPECT_EQ(error.isRetryable(), isRetryable) << text;
    }
  }
}

}  // namespace
}  // namespace quillant
