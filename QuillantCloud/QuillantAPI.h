#pragma once

#include <memory>
#include <string>

#include "Core/JSONForward.h"
#include "QuillantCloud/HttpClient.h"
#include "QuillantCloud/Me.h"
#include "QuillantCloud/QuillantConfig.h"
#include "QuillantCloud/QuillantUploadAPI.h"

namespace quillant {

/// The service's JSON interface for one account. A value: no retries, no cache, nothing kept between calls,
/// which may run at the same time.
struct QuillantAPI : QuillantUploadAPI {
  URL baseURL;
  std::string token;  ///< Sent as it is; logged and shown nowhere.
  std::shared_ptr<HttpClient> http;

  QuillantAPI(std::string bearerToken, std::shared_ptr<HttpClient> client,
              URL base = QuillantConfig::baseURL());

  Task<Me> me() const;

  Task<UploadReservation> createUpload(std::optional<std::string> title, std::int64_t sizeBytes,
                                       std::int64_t durationMs, std::int64_t width,
                                       std::int64_t height) override;
  Task<RefreshResult> refreshPresign(std::string videoId) override;
  Task<CompleteResult> completeUpload(std::string videoId, std::int64_t sizeBytes,
                                      CaptionsDeclaration captions) override;

 private:
  /// The answer to a request that succeeded.
  Task<HttpResponse> perform(HttpRequest request) const;
  HttpRequest post(std::string_view path, const Json& body) const;
};

}  // namespace quillant
