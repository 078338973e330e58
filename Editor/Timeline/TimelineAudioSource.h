#pragma once

#include <string>

#include "Core/JSONForward.h"
#include "Core/RawTexts.h"

namespace quillant {

/// A sound file of the project.
struct TimelineAudioSource {
  enum class Kind { file, voiceover };

  std::string id;
  Kind kind = Kind::file;
  std::string fileExtension;
  std::string displayName;

  friend bool operator==(const TimelineAudioSource&, const TimelineAudioSource&) = default;
};

template <>
inline constexpr auto rawTexts<TimelineAudioSource::Kind> = std::to_array<RawText<TimelineAudioSource::Kind>>(
    {{TimelineAudioSource::Kind::file, "file"}, {TimelineAudioSource::Kind::voiceover, "voiceover"}});

void to_json(Json& json, const TimelineAudioSource& source);
void from_json(const Json& json, TimelineAudioSource& source);

}  // namespace quillant
