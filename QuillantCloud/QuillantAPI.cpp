#include "QuillantCloud/QuillantAPI.h"

#include <utility>

#include "Core/JSON.h"
#include "QuillantCloud/APIError.h"

namespace quillant {

namespace {

/// What the service says of a refusal, as far as the body holds it.
APIError::Http refusal(const HttpResponse& response) {
  APIError::Http http{.status = response.status};
  try {
    const auto body = JSON::parse(response.body);
    const auto text = [&](const char* key) -> std::optional<std::string> {
      const auto found = body.find(key);
      if (found == body.end() || !found->is_string()) return std::nullopt;
      return found->get<std::string>();
    };
    if (body.is_object()) {
      http.message = text("error");
      http.code = text("code");
    }
  } catch (const JSONError&) {
    // A page, or nothing: the status has to do.
  }
  return http;
}

/// The record that a service's answer holds.
template <class Record>
Record decoded(const HttpResponse& response) {
  try {
    if (response.bodyWasCut)
      throw JSONError(JSONError::Kind::malformed, "the answer is longer than any that is expected");
    return JSON::decode<Record>(JSON::parse(response.body));
  } catch (const JSONError& error) {
    throw APIError(APIError::Decoding{error});
  }
}

}  // namespace

QuillantAPI::QuillantAPI(std::string bearerToken, std::shared_ptr<HttpClient> client, URL base)
    : baseURL(std::move(base)), token(std::move(bearerToken)), http(std::move(client)) {}

Task<HttpResponse> QuillantAPI::perform(HttpRequest request) const {
  request.headers.push_back({"Authorization", "Bearer " + token});
  HttpResponse response;
  try {
    response = co_await http->send(std::move(request));
  } catch (const TransportError& error) {
    if (error.kind() == TransportError::Kind::notHTTP)
      throw APIError(APIError::Http{-1, "no HTTP response", std::nullopt});
    throw APIError(APIError::Transport{error});
  }
  if (response.status == 401) throw APIError(APIError::TokenExpired{});
  if (response.status < 200 || response.status > 299) throw APIError(refusal(response));
  co_return response;
}

HttpRequest QuillantAPI::post(std::string_view path, const Json& body) const {
  return {.method = "POST",
          .url = baseURL.appendingPath(path).text(),
          .headers = {{"Content-Type", "application/json"}},
          .body = JSON::compact(body)};
}

Task<Me> QuillantAPI::me() const {
  HttpRequest request{.method = "GET", .url = baseURL.appendingPath("api/me").text()};
  const auto response = co_await perform(std::move(request));
  co_return decoded<Me>(response);
}

Task<UploadReservation> QuillantAPI::createUpload(std::optional<std::string> title, std::int64_t sizeBytes,
                                                  std::int64_t durationMs, std::int64_t width,
                                                  std::int64_t height) {
  Json body = {{"size_bytes", sizeBytes}, {"duration_ms", durationMs}, {"width", width}, {"height", height}};
  if (title && !title->empty()) body["title"] = *title;
  const auto response = co_await perform(post("/api/uploads", body));
  co_return decoded<UploadReservation>(response);
}

Task<RefreshResult> QuillantAPI::refreshPresign(std::string videoId) {
  const auto response = co_await perform(post("/api/uploads/" + videoId + "/presign", Json::object()));
  co_return decoded<RefreshResult>(response);
}

Task<CompleteResult> QuillantAPI::completeUpload(std::string videoId, std::int64_t sizeBytes,
                                                 CaptionsDeclaration captions) {
  Json body = {{"size_bytes", sizeBytes}};
  if (const auto* language = std::get_if<CaptionsDeclaration::Language>(&captions.value))
    body["captions"] = Json{{"language", language->code}};
  else if (std::holds_alternative<CaptionsDeclaration::None>(captions.value))
    body["captions"] = nullptr;
  const auto response = co_await perform(post("/api/videos/" + videoId + "/complete", body));
  co_return decoded<CompleteResult>(response);
}

}  // namespace quillant
