#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "Core/Task.h"

namespace quillant {

/// Uploads a file to object storage.
class UploadTransport {
 public:
  /// Gets the share of the bytes that was sent, from 0 to 1, on the executor that awaits the transfer, which
  /// goes on meanwhile.
  using Progress = std::function<void(double)>;

  virtual ~UploadTransport() = default;

  /// Throws `UploadError` or `TransportError`. Await it on a strand: progress comes in order then, and never
  /// after the end.
  virtual Task<> put(std::filesystem::path file, std::string url, std::string contentType,
                     Progress progress) = 0;
};

}  // namespace quillant
