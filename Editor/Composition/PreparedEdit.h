#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "Editor/Composition/ActiveSpans.h"
#include "Editor/Composition/CameraLayoutTimeline.h"
#include "Editor/Composition/CursorTelemetryTrack.h"
#include "Editor/Composition/PreparedAnnotations.h"
#include "Editor/Composition/PreparedCaptions.h"
#include "Editor/Composition/TimelineExportEditPlan.h"
#include "Editor/Composition/TimelineZoomCanvasTransform.h"
#include "Editor/Timeline/FacecamSettings.h"
#include "Editor/Timeline/TimelineEditSnapshot.h"

namespace quillant {

/// An edit made ready for frames: made once, then asked once a frame by the preview, the poster and the
/// export. No question walks a list, compares identifiers or allocates. Immutable; any thread.
///
/// Files of video are small numbers here, in the order in which they were given: `mainRecording` is 0. Output
/// times are seconds in the finished video, source times seconds in one file.
class PreparedEdit {
 public:
  using SourceNumber = std::size_t;
  static constexpr SourceNumber mainRecording = 0;

  /// A file that the edit plays.
  struct Source {
    std::optional<std::string> id;  ///< `TimelineSource::id`; none is the main recording.
    double duration = 0;            ///< Seconds.
    std::optional<TimelineSpan>
        camera;  ///< Where its camera has frames, in the source's seconds, if it has one.
  };

  /// `sources` has the main recording first. `cameraFallback` is how a camera shows in which no camera clip
  /// is set; added files use it too, or the default settings.
  PreparedEdit(const TimelineEditSnapshot& edits, std::vector<Source> sources,
               const std::optional<FacecamSettings>& cameraFallback, CaptionRenderPlan captions);

  const TimelineExportEditPlan& plan() const { return plan_; }
  std::size_t sourceCount() const { return sources_.size(); }

  /// The file that plays at an output time. On a seam it is the later one, past the end the last; where
  /// nothing plays, or a file that was not given, it is the main recording.
  SourceNumber source(double outputTime) const;
  /// Where in a file an output time is; none while the file does not play. A seam is still the earlier
  /// segment's.
  std::optional<double> sourceTime(SourceNumber source, double outputTime) const;

  /// How the finished canvas is magnified while `source` is drawn; only the main recording zooms.
  std::optional<TimelineZoomEffect> zoom(SourceNumber source, double outputTime,
                                         const CursorTelemetryTrack* cursorTrack) const;

  /// How far the camera has grown from its bubble to the whole picture; none while it is hidden.
  std::optional<double> cameraFullScreenAmount(double outputTime) const {
    return cameraLayout_.cameraFullScreenAmount(outputTime);
  }
  /// The settings with which a file's camera may show, clamped.
  const std::vector<FacecamSettings>& cameraSettings(SourceNumber source) const;
  /// Which of them holds at a source time; none where the camera does not show.
  std::optional<std::size_t> activeCameraSettings(SourceNumber source, double sourceTime) const;
  /// The source time of the camera's frame that is drawn at an output time; none where the camera has none.
  /// A gap of less than a quarter second between the camera's frames and either end of what is played in one
  /// go holds the nearest frame, so that the camera does not flicker at a seam.
  std::optional<double> cameraFrameTime(SourceNumber source, double outputTime) const;

  const PreparedAnnotations& annotations() const { return annotations_; }
  const PreparedCaptions& captions() const { return captions_; }

 private:
  struct PreparedSource {
    PreparedSource(const Source& source, const TimelineEditSnapshot& edits,
                   const TimelineExportEditPlan& plan, const std::optional<FacecamSettings>& cameraFallback);

    /// Source times that are played in one go, over all cuts that skip nothing.
    struct Stretch {
      double outputEnd;
      TimelineSpan source;
    };

    TimelineExportEditPlan pieces;
    std::vector<Stretch> stretches;  ///< In output order.
    std::optional<TimelineSpan> camera;
    std::vector<FacecamSettings> cameraSettings;
    ActiveSpans cameraSpans{{}};  ///< Of `cameraSettings`, in source seconds.
  };

  TimelineExportEditPlan plan_;
  std::vector<SourceNumber> segmentSources_;  ///< One a segment of the plan.
  std::vector<PreparedSource> sources_;
  TimelineZoomCanvasTransform zooms_;
  CameraLayoutTimeline cameraLayout_;
  PreparedAnnotations annotations_;
  PreparedCaptions captions_;
};

}  // namespace quillant
