#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "Core/Error.h"

namespace quillant {

/// What the open recording cannot do, or cannot be.
class EditorError : public Error {
 public:
  enum class Kind { noVideoTrack, unknownZoomPreset, unknownBackground, splitRangeInvalid, nothingLoaded };

  static EditorError noVideoTrack(const std::filesystem::path& file);
  static EditorError unknownZoomPreset(std::string_view name, const std::vector<std::string>& available);
  static EditorError unknownBackground(std::string_view name, const std::vector<std::string>& available);
  /// All in seconds.
  static EditorError splitRangeInvalid(double from, double to, double duration);
  static EditorError nothingLoaded();

  Kind kind() const { return kind_; }

 private:
  EditorError(Kind kind, std::string description) : Error(std::move(description)), kind_(kind) {}

  Kind kind_;
};

/// Captions were to be burned in, and a sound has no transcript yet. `name` is how the user knows it.
class CaptionsNotReady : public Error {
 public:
  explicit CaptionsNotReady(std::string_view name);
};

}  // namespace quillant
