#pragma once

#include <optional>
#include <string>
#include <variant>

namespace quillant {

struct TimelineEditState;

/// The events that bring back what was cut, as far as the clips around still show where it was. What of the
/// stretch plays already stays as it is; the rest comes back as a whole or not at all, and the status says
/// why not. `lo` and `hi` are seconds of the source.
namespace TimelineEvents {

/// Gives the clips a stretch of one video back, and the voice row the time that it lost with it.
struct RestoreVideoGap {
  std::optional<std::string> source;  ///< `TimelineSource::id`; none is the main recording.
  double lo = 0;
  double hi = 0;
  double limit = 0;     ///< The length of the source, in seconds.
  double duration = 0;  ///< The length of the main recording, in seconds.

  void apply(TimelineEditState& state) const;
};

/// Fills a gap in the voice row with the stretch of sound that was there.
struct RestoreVoiceGap {
  std::string source;  ///< `TimelineAudioSource::id`
  double lo = 0;
  double hi = 0;
  double duration = 0;  ///< The length of the main recording, in seconds.

  void apply(TimelineEditState& state) const;
};

using RestoreEvents = std::variant<RestoreVideoGap, RestoreVoiceGap>;

}  // namespace TimelineEvents
}  // namespace quillant
