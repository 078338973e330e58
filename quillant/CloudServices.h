#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>

#include "QuillantCloud/ClipboardWriting.h"
#include "QuillantCloud/HttpClient.h"
#include "QuillantCloud/SecretStoring.h"
#include "QuillantCloud/UploadClock.h"
#include "QuillantCloud/WebAuthenticating.h"

namespace quillant {

/// What an upload says about its video.
struct VideoFacts {
  std::int64_t sizeBytes = 0;
  std::int64_t durationMs = 0;
  std::int64_t width = 0;   ///< Pixels, as shown.
  std::int64_t height = 0;  ///< Pixels, as shown.
};

/// What the cloud commands need of the platform.
struct CloudServices {
  std::shared_ptr<HttpClient> http;
  std::shared_ptr<SecretStoring> secrets;
  std::shared_ptr<WebAuthenticating> signInPage;
  std::shared_ptr<ClipboardWriting> clipboard;
  /// Blocking; throws a `quillant::Error`.
  std::function<VideoFacts(const std::filesystem::path& video)> probe;
  /// Writes a frame of the video to `poster` as a JPEG. Blocking; throws a `quillant::Error`.
  std::function<void(const std::filesystem::path& video, const std::filesystem::path& poster)> makePoster;
  UploadClock clock{};
};

}  // namespace quillant
