#pragma once

#include <array>
#include <optional>
#include <string>

#include "Core/RawTexts.h"

namespace quillant {

/// How far the run of an upload has come, for those who show it.
struct UploadProgress {
  enum class Phase { reserving, video, thumb, captions, finalizing };

  Phase phase = Phase::reserving;
  double fraction = 0;                 ///< The share that is sent of the phase's file, 0 to 1.
  std::optional<std::string> failure;  ///< The run ended in this phase, with this error.
  bool cancelled = false;              ///< The run ended in this phase because it was told to: no failure.

  friend bool operator==(const UploadProgress&, const UploadProgress&) = default;
};

template <>
inline constexpr auto rawTexts<UploadProgress::Phase> = std::to_array<RawText<UploadProgress::Phase>>({
    {UploadProgress::Phase::reserving, "reserving"},
    {UploadProgress::Phase::video, "video"},
    {UploadProgress::Phase::thumb, "thumb"},
    {UploadProgress::Phase::captions, "captions"},
    {UploadProgress::Phase::finalizing, "finalizing"},
});

}  // namespace quillant
