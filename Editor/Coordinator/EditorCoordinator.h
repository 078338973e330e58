#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Core/OwningSequence.h"
#include "Core/PixelBuffer.h"
#include "Core/Task.h"
#include "Editor/Captions/CaptionTargets.h"
#include "Editor/Captions/TranscriptDocument.h"
#include "Editor/Captions/TranscriptSelection.h"
#include "Editor/Composition/TimelineExportEditPlan.h"
#include "Editor/Composition/WallpaperImageCache.h"
#include "Editor/Export/VideoExportRenderer.h"
#include "Editor/Project/EditorStateHolding.h"
#include "Editor/Project/RecordingSession.h"
#include "Editor/Timeline/TimelineEditDriver.h"

namespace quillant {

/// The sizes that an export without further choices offers.
enum class EditorExportQuality { source, p1080, p720 };

/// The open recording: its edit, how it is framed, and what is made of it. Views send it intents and ask it
/// what to show; exports start here.
///
/// Belongs to one thread, the main one, whose executor it is given; its tasks are awaited there, and it
/// outlives them. Files are read and written on other threads.
class EditorCoordinator : public EditorStateHolding {
 public:
  struct Recording {
    std::filesystem::path screenVideo;
    std::optional<std::filesystem::path> facecam;
    std::optional<std::int64_t> facecamOffsetMs;  ///< The camera's start less the screen's.
    std::optional<std::filesystem::path> cursorTelemetry;
    Size size;             ///< Pixels, as shown.
    double duration = 0;   ///< Seconds.
    double frameRate = 0;  ///< Frames a second; 0 if the file does not tell.
  };

  struct Services {
    std::shared_ptr<WallpaperImageCache> wallpapers;  ///< None: every wallpaper is black.
  };

  EditorCoordinator(Executor mainThread, Services services);

  /// Opens a recording in the place of what was open, looking as a new project does, with the side files that
  /// `RecordingSideFiles` finds. Throws `EditorError` of kind noVideoTrack, and `FileError` or `MediaError`
  /// for a file that cannot be read; then nothing changes.
  Task<> load(RecordingHandoffFields media);
  const std::optional<Recording>& recording() const { return recording_; }

  // A saved edit, of the recording that is loaded.
  ProjectEditorState exportEditorState() const override;
  void applyEditorState(const ProjectEditorState& state) override;
  /// As `quillant::editFingerprint`.
  std::string editFingerprint() const;

  /// The same recording with the same edit, which from now on go ways of their own.
  std::shared_ptr<EditorCoordinator> copy(Executor mainThread) const;

  TimelineEditDriver& driver() { return driver_; }
  const TimelineEditSnapshot& edits() const { return driver_.state().snapshot; }
  /// Backdrop and framing, cursor, crop, and how the camera shows where no camera clip says it.
  const ProjectVideoEditorState& video() const { return video_; }
  void setVideo(ProjectVideoEditorState video);

  // Intents. Times are seconds of output. They throw `EditorError` of kind nothingLoaded; what the rules of
  // the edit refuse is told by the driver's status.

  /// In the place of the automatic zooms that there are. Throws `EditorError` for a name that no preset has.
  /// No undo leads back across it.
  void generateAutoZooms(std::string_view presetName);
  /// Cuts a stretch out. Throws `EditorError` of kind splitRangeInvalid.
  void deleteOutputRange(double from, double to);
  /// Has a stretch play at one of `TimelineClipSpeed::allowed`. Throws `EditorError` of kind
  /// splitRangeInvalid.
  void setSpeed(double from, double to, double speed);
  /// Of the camera everywhere: in every camera clip, and where there is none.
  void changeFacecam(const std::function<void(FacecamSettings&)>& change);

  // Read-outs.

  /// Seconds: of the edit or, where that plays nothing, of the recording; 0 with nothing loaded.
  double outputDuration() const;
  /// Seconds of what the edit plays; 0 with nothing loaded.
  double editedDuration() const;
  /// None outside of the output.
  std::optional<double> sourceTime(double outputTime) const;
  /// 1 outside of the output.
  double clipSpeed(double outputTime) const;
  std::size_t autoZoomCount() const;
  /// Whether the recording's own camera is seen at all.
  bool recordingCameraShows() const;
  /// Whether the recording, or a file that was added to it, has a camera.
  Task<bool> hasCamera() const;
  /// The recording's rate, at most 60 frames a second.
  VideoExportFrameRate sourceRate() const;
  /// Of an export's pictures, in pixels.
  Size outputSize(EditorExportQuality quality) const;

  // Captions. With nothing loaded there are none.

  bool captionsOn() const;
  TimelineCaptionStyle captionStyle() const;
  void setCaptionsOn(bool on);
  void setCaptionStyle(TimelineCaptionStyle style);
  /// What is said in the finished video, whether captions are on or not; sorted by start.
  std::vector<CaptionBlock> captionBlocks() const;
  /// Corrects the words of a block of the edit as it is. No text removes them.
  void editCaption(std::string text, const CaptionBlock& block);
  /// A transcript for previews. `CaptionJobs` brings real ones.
  void previewTranscript(TimelineTranscript transcript);
  /// The sounds that should have a transcript, and those of them that have none.
  Task<std::vector<CaptionTarget>> captionTargets() const;
  Task<std::vector<CaptionTarget>> missingCaptionTargets() const;
  /// The captions as WebVTT, and the language that most of their words are in. None, and no file, while they
  /// are off or nothing is said. Throws `CaptionsNotReady` and `FileError`.
  Task<std::optional<std::string>> writeShareCaptions(std::filesystem::path target) const;

  // The transcript as a text that cuts the video. Whatever is asked with was got from the edit as it is.

  /// `pending` names the sources that still wait, as `CaptionJobs::pendingSources` does.
  TranscriptDocument::Document transcript(const std::set<std::string>& pending) const;
  std::vector<TranscriptParagraph> transcriptParagraphs() const;
  /// What deleting the selection takes out, in output seconds; none where it holds nothing that is heard.
  std::optional<TranscriptDocument::Cut> transcriptCut(const TranscriptSelection& selection,
                                                       const TranscriptDocument::Document& document) const;
  /// From the video; words of an audio row alone from that row, which keeps its length.
  void deleteTranscriptSelection(const TranscriptSelection& selection,
                                 const TranscriptDocument::Document& document);
  /// Why words that were cut cannot come back; none if they can.
  Task<std::optional<std::string>> restoreRefusal(TranscriptRemovedItem item) const;
  Task<> restore(TranscriptRemovedItem item);
  void fixTranscriptWord(std::size_t transcript, std::size_t word, std::string text);
  /// Whose words a paragraph holds, as the user knows it.
  std::string transcriptSpeaker(const TranscriptParagraph& paragraph) const;

  // Results. `choices` are size, rate, quality and format; the look in them is replaced by this edit's. Each
  // throws `EditorError` of kind nothingLoaded, `CaptionsNotReady`, and what `VideoExportRenderer` throws.

  /// Throws `VideoExportRendererError` of kind exportFailed if a file of the recording or of what was added
  /// to it, played or not, would be replaced. Exports look themselves.
  Task<> checkTarget(std::filesystem::path target) const;
  /// An MP4 at the recording's rate, at most 60 frames a second.
  Task<VideoExportResult> exportMP4(std::filesystem::path target, EditorExportQuality quality,
                                    bool burnsCaptions, VideoExportRenderer::ProgressHandler progressHandler);
  /// In the format that the choices name. `progressHandler` is called on a thread of the export. One export
  /// at a time.
  Task<VideoExportResult> exportVideo(std::filesystem::path target, VideoExportOptions choices,
                                      bool burnsCaptions,
                                      VideoExportRenderer::ProgressHandler progressHandler);
  /// Ends the export that is going on, if there is one.
  void cancelExport();
  /// The finished frame at an output time, which is brought into the output.
  Task<PixelBufferRef> composedFrame(double outputTime, VideoExportOptions choices, bool burnsCaptions);
  /// An early frame as a JPEG, at most so many pixels wide.
  Task<> writeSharePoster(std::filesystem::path target, int maxWidth);

 private:
  struct Rendering;

  const Recording& loaded() const;
  const TimelineExportEditPlan& plan() const;
  void checkRange(double from, double to, double shortest) const;
  Task<std::optional<TimelineEditEvent>> restoreEvent(TranscriptRemovedItem item) const;
  TimelineEditSnapshot renderEdits(bool burnsCaptions) const;
  VideoExportOptions makeVisualOptions(VideoExportOptions choices) const;
  Task<> requireTranscripts() const;
  Task<Rendering> makeRendering(VideoExportOptions choices, bool burnsCaptions);

  const OwningSequence sequence_;
  const Services services_;
  std::optional<Recording> recording_;
  TimelineEditDriver driver_;
  ProjectVideoEditorState video_;
  mutable std::optional<TimelineExportEditPlan> plan_;  ///< Of the edit as it is; none until it is asked for.
  Connection planConnection_;
  std::shared_ptr<VideoExportCancellationToken> activeExportToken_;
};

}  // namespace quillant
