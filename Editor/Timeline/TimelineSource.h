#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Core/JSONForward.h"
#include "Core/RawTexts.h"

namespace quillant {

/// The main recording, where a source is named by a text: in transcripts and in the names of files.
inline constexpr std::string_view primarySourceKey = "primary";

/// A video file of the project beside its main recording.
struct TimelineSource {
  enum class Kind { recording, file };

  std::string id;
  Kind kind = Kind::file;
  std::string fileExtension;
  std::optional<std::int64_t> facecamOffsetMs;
  std::string displayName;

  friend bool operator==(const TimelineSource&, const TimelineSource&) = default;
};

template <>
inline constexpr auto rawTexts<TimelineSource::Kind> = std::to_array<RawText<TimelineSource::Kind>>(
    {{TimelineSource::Kind::recording, "recording"}, {TimelineSource::Kind::file, "file"}});

void to_json(Json& json, const TimelineSource& source);
void from_json(const Json& json, TimelineSource& source);

}  // namespace quillant
