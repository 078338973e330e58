#pragma once

#include <memory>
#include <utility>

#include "QuillantCloud/HttpClient.h"
#include "QuillantCloud/UploadTransport.h"

namespace quillant {

/// Uploads by `PresignedPut`.
class HttpUploadTransport : public UploadTransport {
 public:
  explicit HttpUploadTransport(std::shared_ptr<HttpClient> http) : http_(std::move(http)) {}

  Task<> put(std::filesystem::path file, std::string url, std::string contentType,
             Progress progress) override;

 private:
  std::shared_ptr<HttpClient> http_;
};

}  // namespace quillant
