#include <gtest/gtest.h>

#include "Core/JSON.h"
#include "QuillantCloud/QuillantAPI.h"
#include "Tests/QuillantCloud/CloudFakes.h"

namespace quillant {
namespace {

using namespace std::string_literals;

class QuillantAPITest : public testing::Test {
 protected:
  std::shared_ptr<ScriptedHttpClient> http = std::make_shared<ScriptedHttpClient>();
  QuillantAPI api{"to/ken+=", http, *URL::parse("https://x.test/base")};

  /// What the call throws, whose answer is scripted.
  std::optional<APIError> errorOfMe() {
    try {
      runBlocking(api.me());
    } catch (const APIError& error) {
      return error;
    }
    return std::nullopt;
  }
};

TEST_F(QuillantAPITest, SendsWhatTheServiceExpects) {
  const auto reservation =
      R"({"video_id":"v","slug":"s","share_url":"u","put_video_url":"pv","put_thumb_url":"pt","more":1})"s;
  http->answer(200, R"({"id":"1","email":"a@b","plan":"pro","limits":{"maxVideos":3}})");
  http->answer(201, reservation);
  http->answer(200, reservation);
  http->answer(
      200, reservation.substr(0, reservation.size() - 1) + R"(,"video_present":true,"thumb_present":false})");
  for (int i = 0; i < 3; ++i) http->answer(200, R"({"video_id":"v","slug":"s","status":"ready"})");

  EXPECT_EQ(runBlocking(api.me()).limits->maxVideos, 3);
  EXPECT_EQ(runBlocking(api.createUpload("T", 10, 20, 30, 40)).putCaptionsURL, std::nullopt);
  runBlocking(api.createUpload("", 10, 20, 30, 40));
  EXPECT_TRUE(runBlocking(api.refreshPresign("v")).videoPresent);
  for (const auto& captions :
       {CaptionsDeclaration::unchanged(), CaptionsDeclaration::none(), CaptionsDeclaration::language("de")})
    EXPECT_TRUE(runBlocking(api.completeUpload("v", 10, captions)).isReady());

  const std::vector<std::pair<std::string, std::string>> expected = {
      {"GET https://x.test/base/api/me", ""},
      {"POST https://x.test/base/api/uploads",
       R"({"duration_ms":20,"height":40,"size_bytes":10,"title":"T","width":30})"},
      {"POST https://x.test/base/api/uploads",
       R"({"duration_ms":20,"height":40,"size_bytes":10,"width":30})"},
      {"POST https://x.test/base/api/uploads/v/presign", "{}"},
      {"POST https://x.test/base/api/videos/v/complete", R"({"size_bytes":10})"},
      {"POST https://x.test/base/api/videos/v/complete", R"({"captions":null,"size_bytes":10})"},
      {"POST https://x.test/base/api/videos/v/complete", R"({"captions":{"language":"de"},"size_bytes":10})"},
  };
  ASSERT_EQ(http->requests.size(), expected.size());
  const HttpHeader authorization{"Authorization", "Bearer to/ken+="};
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const auto& request = http->requests[i];
    EXPECT_EQ(request.method + " " + request.url, expected[i].first);
    const bool isPost = request.method == "POST";
    EXPECT_EQ(request.headers,
              (isPost ? std::vector<HttpHeader>{{"Content-Type", "application/json"}, authorization}
                      : std::vector<HttpHeader>{authorization}));
    EXPECT_EQ(request.timeout, std::chrono::seconds(60));
    EXPECT_EQ(isPost ? std::get<std::string>(request.body) : "", expected[i].second);
  }
}

TEST_F(QuillantAPITest, TellsRefusalsApart) {
  struct Case {
    int status;
    std::string body;
    std::string text;
    bool retryable;
  };
  const std::vector<Case> cases = {
      {401, R"({"error":"no","code":"expired"})", "authentication expired — run `quillant login` again",
       false},
      {500, "<html>Oops</html>", "server error 500", true},
      {409, R"({"error":"gone","code":"object_missing"})", "server error 409: gone code=object_missing",
       false},
      {403, R"({"code":"quota_exceeded"})", "server error 403: code=quota_exceeded", false},
      {429, R"({"error":"slow down","code":7})", "server error 429: slow down", true},
      {499, "[1]", "server error 499", false},
      {302, "", "server error 302", false},
  };
  for (const auto& [status, body, text, retryable] : cases) {
    http->answer(status, body);
    const auto error = errorOfMe();
    ASSERT_TRUE(error) << status;
    EXPECT_EQ(error->description(), text);
    EXPECT_EQ(error->isRetryable(), retryable) << status;
  }
}

TEST_F(QuillantAPITest, TakesNoAnswerForOneItCannotUnderstand) {
  for (const auto* body : {"", "<!doctype html>", R"({"id":"1","em)", R"({"id":"1","email":"a@b"})", "[]",
                           "null", R"({"id":1,"email":"a@b","plan":"p"})",
                           R"({"id":"1","email":"a","plan":"p","usage":{"videos":"3","bytes":1}})"}) {
    http->answer(200, body);
    const auto error = errorOfMe();
    ASSERT_TRUE(error) << body;
    EXPECT_TRUE(std::holds_alternative<APIError::Decoding>(error->reason())) << body;
    EXPECT_TRUE(error->description().starts_with("could not parse server response: "))
        << error->description();
    EXPECT_FALSE(error->isRetryable());
  }
  http->answers.emplace_back(
      HttpResponse{.status = 200, .body = R"({"id":"1","email":"a@b","plan":"p"})", .bodyWasCut = true});
  EXPECT_TRUE(std::holds_alternative<APIError::Decoding>(errorOfMe()->reason())) << "the rest is missing";
}

TEST_F(QuillantAPITest, TriesAgainWhereTheNetworkFailedButNotWhereAStrangerAnswered) {
  http->answers.emplace_back(TransportError(TransportError::Kind::timedOut, "the request timed out"));
  http->answers.emplace_back(TransportError(TransportError::Kind::notHTTP, "SSH-2.0"));
  for (const auto& [text, retryable] : {std::pair("network error: the request timed out", true),
                                        std::pair("server error -1: no HTTP response", false)}) {
    const auto error = errorOfMe();
    EXPECT_EQ(error->description(), text);
    EXPECT_EQ(error->isRetryable(), retryable);
  }
}

}  // namespace
}  // namespace quillant
