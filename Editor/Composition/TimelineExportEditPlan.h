#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Editor/Timeline/TimelineClip.h"
#include "Editor/Timeline/TimelineClipSpeed.h"
#include "Editor/Timeline/TimelineEditSnapshot.h"
#include "Editor/Timeline/TimelineRecordingSound.h"
#include "Editor/Timeline/TimelineSpan.h"

namespace quillant {

/// An edit as a straight line of output, without gaps: what was cut away has no segment. Everything that
/// draws, plays or exports maps its times through this value. A pure value; any thread.
///
/// Source time is seconds inside one file, output time seconds in the finished video. A source is a
/// `TimelineSource::id`; none is the main recording.
struct TimelineExportEditPlan {
  /// A stretch of one source at one speed, in which no zoom, annotation or camera clip begins or ends.
  struct Segment {
    double sourceStart = 0;
    double sourceEnd = 0;
    double outputStart = 0;
    double outputEnd = 0;
    double speed = 1;
    std::optional<std::string> source;
    TimelineRecordingSound sound;
    TimelineCameraLayout camera = TimelineCameraLayout::bubble;

    /// Source seconds that pass in one second of output.
    double rate() const { return TimelineClipSpeed::rate(speed); }
    double sourceTime(double outputTime) const { return sourceStart + (outputTime - outputStart) * rate(); }
    double outputTime(double sourceTime) const { return outputStart + (sourceTime - sourceStart) / rate(); }
    /// The part of a source span that this segment plays; none if there is hardly any.
    std::optional<TimelineSpan> outputSpan(TimelineSpan sourceSpan) const;

    friend bool operator==(const Segment&, const Segment&) = default;
  };

  std::vector<Segment> segments;  ///< In output order, touching.
  double outputDuration = 0;

  /// `duration` is the main recording's; nothing plays if it is not valid.
  static TimelineExportEditPlan build(double duration, const TimelineEditSnapshot& edits);

  /// Where a source time is first played; none where it was cut away.
  std::optional<double> outputTime(double sourceTime, const std::optional<std::string>& source) const;
  /// A time on a seam belongs to the earlier segment; none outside the output.
  std::optional<double> sourceTime(double outputTime) const;
  /// Every stretch of output in which something of the span is played, in output order, neighbours not
  /// joined.
  std::vector<TimelineSpan> outputSpans(TimelineSpan sourceSpan,
                                        const std::optional<std::string>& source) const;
  /// A time on a seam belongs to the later segment, one past the end to the last; none before the start.
  const Segment* segment(double outputTime) const;
  /// The segments of one source at their places: a plan with gaps.
  TimelineExportEditPlan pieces(const std::optional<std::string>& source) const;
  /// Each source once: the main recording first, then in the order of playing.
  std::vector<std::optional<std::string>> sourceIDs() const;

  friend bool operator==(const TimelineExportEditPlan&, const TimelineExportEditPlan&) = default;
};

}  // namespace quillant
