#pragma once

#include <cstddef>
#include <string>
#include <variant>

#include "Editor/Timeline/TimelineCaptions.h"

namespace quillant {

struct TimelineEditState;

/// The events of captions and of the words they are made of.
namespace TimelineEvents {

struct SetCaptionsOn {
  bool on = false;

  void apply(TimelineEditState& state) const;
};

/// Only where there are captions, on or off.
struct SetCaptionStyle {
  TimelineCaptionStyle style = TimelineCaptionStyle::box;

  void apply(TimelineEditState& state) const;
};

/// Puts what was heard in a sound in the place of what was there.
struct SetTranscript {
  TimelineTranscript transcript;

  void apply(TimelineEditState& state) const;
};

/// Corrects the words `first` to `last` of a transcript. No text removes them.
struct ReplaceCaptionWords {
  std::size_t transcript = 0;
  std::size_t first = 0;
  std::size_t last = 0;
  std::string text;

  void apply(TimelineEditState& state) const;
};

using CaptionEvents = std::variant<SetCaptionsOn, SetCaptionStyle, SetTranscript, ReplaceCaptionWords>;

}  // namespace TimelineEvents
}  // namespace quillant
