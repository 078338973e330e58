#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "Core/Task.h"

namespace quillant {

/// The way of a file to object storage.
class UploadTransport {
 public:
  /// Gets the share of the bytes that was sent, from 0 to 1. Any thread.
  using Progress = std::function<void(double)>;

  virtual ~UploadTransport() = default;

  /// Throws `UploadError` or `TransportError`.
  virtual Task<> put(std::filesystem::path file, std::string url, std::string contentType,
                     Progress progress) = 0;
};

}  // namespace quillant
