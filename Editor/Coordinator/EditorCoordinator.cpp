#include "Editor/Coordinator/EditorCoordinator.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <fmt/format.h>
#include <system_error>
#include <utility>

#include "Core/AtomicFile.h"
#include "Core/DiskExecutor.h"
#include "Core/QueueTask.h"
#include "Editor/Captions/CaptionLayout.h"
#include "Editor/Captions/CaptionWebVTT.h"
#include "Editor/Coordinator/EditorError.h"
#include "Editor/Coordinator/PresetNames.h"
#include "Editor/Coordinator/RecordingSideFiles.h"
#include "Editor/Export/VideoExportRendererError.h"
#include "Editor/Export/VideoExportSizing.h"
#include "Editor/Project/EditFingerprint.h"
#include "Editor/Project/ProjectSourceFiles.h"
#include "Editor/Timeline/TimelineClipList.h"
#include "Editor/Timeline/TimelineTolerances.h"
#include "MediaKit/Pictures/BGRAPicture.h"
#include "MediaKit/Pictures/JPEGImage.h"
#include "MediaKit/Reading/AssetProbe.h"

namespace quillant {

namespace {

namespace fs = std::filesystem;
using Recording = EditorCoordinator::Recording;

/// A range may miss the ends of the output by this much, in seconds: people type rounded times.
constexpr double rangeTolerance = 0.05;
/// A poster is taken so far in, since the very first frame often shows what was there before the subject.
constexpr double posterTime = 1;

/// Blocking.
Recording open(RecordingHandoffFields media) {
  const fs::path video = media.screenVideoPath;
  const auto asset = AssetProbe::probe(video);
  const auto tracks = asset.tracksOfKind(MediaTrack::Kind::video);
  if (tracks.empty()) throw EditorError::noVideoTrack(video);
  media = RecordingSideFiles::found(std::move(media), asset);
  return {.screenVideo = video,
          .facecam = media.facecamVideoPath,
          .facecamOffsetMs = media.facecamOffsetMs,
          .cursorTelemetry = media.cursorTelemetryPath,
          .size = tracks.front().displaySize,
          .duration = VideoExportSizing::exportSourceDuration(asset.duration.seconds(),
                                                              tracks.front().duration.seconds()),
          .frameRate = tracks.front().nominalFrameRate};
}

Task<Recording> opened(RecordingHandoffFields media) {
  co_return open(std::move(media));
}

Task<std::vector<CaptionTarget>> foundTargets(fs::path recording, TimelineEditSnapshot edits) {
  co_return CaptionTargets::find(recording, edits);
}

bool isSame(const fs::path& file, const fs::path& other) {
  std::error_code failed;
  return fs::equivalent(file, other, failed);
}

/// Throws if `target` is there and is part of the recording, or was added to it. Blocking.
Task<> refuseOwnFile(Recording recording, fs::path target) {
  std::error_code missing;
  const auto file = fs::canonical(target, missing);
  if (missing) co_return;
  const bool isOwn = isSame(file, recording.screenVideo) ||
                     (recording.facecam && isSame(file, *recording.facecam)) ||
                     (recording.cursorTelemetry && isSame(file, *recording.cursorTelemetry)) ||
                     (isSame(file.parent_path(), recording.screenVideo.parent_path()) &&
                      ProjectSourceFiles::isOwnName(recording.screenVideo, file.filename().string()));
  if (isOwn)
    throw VideoExportRendererError(
        VideoExportRendererError::Kind::exportFailed,
        fmt::format("{} belongs to the recording. Choose another name for the new file.",
                    file.filename().string()));
}

Task<bool> anyCamera(fs::path recording, CopyOnWriteVector<TimelineSource> sources) {
  co_return std::ranges::any_of(*sources, [&](const TimelineSource& source) {
    std::error_code missing;
    return fs::exists(ProjectSourceFiles::sidecar(recording, source.id, ProjectSourceFiles::facecamExtension),
                      missing);
  });
}

Task<> written(fs::path target, std::string text) {
  AtomicFile::write(target, text);
  co_return;
}

/// A file that can speak.
struct SourceFile {
  fs::path path;
  std::string name;  ///< How the user knows it.
  bool isAudio = false;

  friend bool operator==(const SourceFile&, const SourceFile&) = default;
};

std::optional<SourceFile> sourceFile(const fs::path& recording, const TimelineEditSnapshot& edits,
                                     std::string_view key) {
  if (key == primarySourceKey) return SourceFile{recording, recording.stem().string()};
  for (const auto& source : edits.sources)
    if (source.id == key) return SourceFile{ProjectSourceFiles::file(recording, source), source.displayName};
  for (const auto& source : edits.audioSources)
    if (source.id == key)
      return SourceFile{ProjectSourceFiles::file(recording, source), source.displayName, true};
  return std::nullopt;
}

std::optional<SourceFile> fileOfRemoved(const TranscriptRemovedItem& item,
                                        const std::optional<Recording>& recording,
                                        const TimelineEditSnapshot& edits) {
  if (!recording || !edits.captions || item.transcript >= edits.captions->transcripts.size())
    return std::nullopt;
  return sourceFile(recording->screenVideo, edits, edits.captions->transcripts[item.transcript].source);
}

/// The file's length in seconds; none if it cannot be read. Blocking.
Task<std::optional<double>> sourceLimit(fs::path file) {
  try {
    const auto asset = AssetProbe::probe(file);
    const auto videos = asset.tracksOfKind(MediaTrack::Kind::video);
    const double duration = asset.duration.seconds();
    co_return videos.empty()
        ? duration
        : VideoExportSizing::exportSourceDuration(duration, videos.front().duration.seconds());
  } catch (const Error&) {
    co_return std::nullopt;
  }
}

/// The audio row on which all of the selected words are; none where any is in the video.
std::optional<TimelineAudioRow> audioRowOf(const TranscriptDocument::SelectedSpeech& speech,
                                           const TimelineEditSnapshot& edits) {
  const auto plays = [&](const CopyOnWriteVector<TimelineAudioClip>& row) {
    return !speech.voices.empty() && std::ranges::all_of(speech.voices, [&](const auto* voice) {
      return voice->isVoiceRow &&
             std::ranges::find(*row, voice->source, &TimelineAudioClip::source) != row.end();
    });
  };
  if (plays(edits.audioClips)) return TimelineAudioRow::voice;
  if (plays(edits.musicClips)) return TimelineAudioRow::music;
  return std::nullopt;
}

VideoExportOptions choicesOf(EditorExportQuality quality) {
  const auto resolution = quality == EditorExportQuality::p1080  ? VideoExportResolution::p1080
                          : quality == EditorExportQuality::p720 ? VideoExportResolution::p720
                                                                 : VideoExportResolution::source;
  return {.resolution = resolution, .format = VideoExportFormat::mp4};
}

}  // namespace

/// Everything that an export or a frame needs.
struct EditorCoordinator::Rendering {
  fs::path source;
  VideoExportOptions options;
  TimelineEditSnapshot edits;
  std::shared_ptr<WallpaperImageCache> wallpapers;

  VideoExportRenderer::RenderContext context(VideoExportRenderer::Sound sound) const {
    return VideoExportRenderer::makeRenderContext(source, options, edits, sound);
  }
  VideoExportRenderer::Environment environment() const { return {.wallpapers = wallpapers}; }

  // Blocking, apart from the coordinator.
  static Task<VideoExportResult> movie(Rendering rendering, fs::path target,
                                       std::shared_ptr<VideoExportCancellationToken> token,
                                       VideoExportRenderer::ProgressHandler progressHandler);
  static Task<PixelBufferRef> frame(Rendering rendering, double time);
  static Task<> poster(Rendering rendering, fs::path target, int maxWidth);
};

Task<VideoExportResult> EditorCoordinator::Rendering::movie(
    Rendering rendering, fs::path target, std::shared_ptr<VideoExportCancellationToken> token,
    VideoExportRenderer::ProgressHandler progressHandler) {
  const bool isGIF = rendering.options.format == VideoExportFormat::gif;
  const auto& make = isGIF ? VideoExportRenderer::exportGIF : VideoExportRenderer::exportMovie;
  co_return make(rendering.context(VideoExportRenderer::Sound::included), target, rendering.options, *token,
                 progressHandler, rendering.environment());
}

Task<PixelBufferRef> EditorCoordinator::Rendering::frame(Rendering rendering, double time) {
  const auto context = rendering.context(VideoExportRenderer::Sound::leftOut);
  co_return VideoExportRenderer::composedFrame(context, time, rendering.environment());
}

Task<> EditorCoordinator::Rendering::poster(Rendering rendering, fs::path target, int maxWidth) {
  constexpr auto sound = VideoExportRenderer::Sound::leftOut;
  auto context = rendering.context(sound);
  if (const auto size = context.outputSize; size.width > maxWidth) {
    rendering.options.resolution = VideoExportResolution::custom;
    rendering.options.customOutputSize = {static_cast<double>(maxWidth), size.height * maxWidth / size.width};
    context = rendering.context(sound);
  }
  const auto picture = VideoExportRenderer::composedFrame(context, std::min(posterTime, context.duration / 2),
                                                          rendering.environment());
  const auto jpeg = JPEGImage::encode(*BGRAPicture::of(*picture, picture->width, picture->height));
  AtomicFile::write(target, {reinterpret_cast<const char*>(jpeg.data()), jpeg.size()}, 0600);
  co_return;
}

EditorCoordinator::EditorCoordinator(Executor mainThread, Services services)
    : sequence_(std::move(mainThread)),
      services_(std::move(services)),
      // The recording knows where its track is, wherever the driver would look.
      driver_([this](const fs::path&) -> std::optional<std::string> {
        if (!recording_ || !recording_->cursorTelemetry) return std::nullopt;
        return AtomicFile::read(*recording_->cursorTelemetry);
      }) {
  planConnection_ = driver_.changed.connect([this](const auto&, const auto&) { plan_.reset(); });
}

Task<> EditorCoordinator::load(RecordingHandoffFields media) {
  assert(sequence_.isCurrent());
  auto recording = co_await runOn(diskExecutor(), opened(std::move(media)));
  recording_ = std::move(recording);
  plan_.reset();
  video_ = {};
  if (recording_->facecam) video_.facecamSettings = FacecamSettings();
  driver_.applySnapshot({});
  if (recording_->facecam)
    driver_.send(TimelineEvents::EnsureCameraClips{recording_->duration, video_.facecamSettings},
                 RecordsUndo::no);
}

ProjectEditorState EditorCoordinator::exportEditorState() const {
  assert(sequence_.isCurrent());
  return {.timelineEdits = edits(), .video = video_};
}

void EditorCoordinator::applyEditorState(const ProjectEditorState& state) {
  assert(sequence_.isCurrent());
  driver_.applySnapshot(state.timelineEdits);
  auto video = state.video.value_or(ProjectVideoEditorState());
  if (!video.facecamSettings && recording_ && recording_->facecam) video.facecamSettings = FacecamSettings();
  setVideo(std::move(video));
}

std::string EditorCoordinator::editFingerprint() const {
  assert(sequence_.isCurrent());
  return quillant::editFingerprint(edits(), video_);
}

void EditorCoordinator::setVideo(ProjectVideoEditorState video) {
  assert(sequence_.isCurrent());
  video.cursorOverlay = video.cursorOverlay.clamped();
  video.insetBalance = video.insetBalance.clamped();
  video_ = std::move(video);
}

std::shared_ptr<EditorCoordinator> EditorCoordinator::copy(Executor mainThread) const {
  assert(sequence_.isCurrent());
  auto result = std::make_shared<EditorCoordinator>(std::move(mainThread), services_);
  result->recording_ = recording_;
  result->driver_.applySnapshot(edits());
  result->video_ = video_;
  return result;
}

const Recording& EditorCoordinator::loaded() const {
  assert(sequence_.isCurrent());
  if (!recording_) throw EditorError::nothingLoaded();
  return *recording_;
}

// ---- Intents ----

void EditorCoordinator::generateAutoZooms(std::string_view presetName) {
  const auto preset = PresetNames::zoom(presetName);
  const auto& recording = loaded();
  driver_.send(
      TimelineEvents::RegenerateAutoZoomsRequested{recording.screenVideo, recording.duration, preset},
      RecordsUndo::yes);
  driver_.clearHistory();
}

void EditorCoordinator::checkRange(double from, double to, double shortest) const {
  loaded();
  const double duration = outputDuration();
  const double length = std::min(to, duration) - from;
  if (!(from >= 0 && length > shortest && to <= duration + rangeTolerance))
    throw EditorError::splitRangeInvalid(from, to, duration);
}

void EditorCoordinator::deleteOutputRange(double from, double to) {
  checkRange(from, to, timeTolerance);
  driver_.send(TimelineEvents::DeleteOutputRange{from, to, recording_->duration}, RecordsUndo::yes);
}

void EditorCoordinator::setSpeed(double from, double to, double speed) {
  checkRange(from, to, minimumClipLength - placingTolerance);
  const double duration = recording_->duration;
  // From the end: what is changed there moves nothing before it.
  for (const double time : {to, from})
    driver_.send(TimelineEvents::SplitClip{time, duration}, RecordsUndo::yes);
  const auto clips = *edits().effectiveClips(duration);
  const auto places = TimelineClipList::placed(clips);
  bool isFound = false;
  for (std::size_t i = 0; i < clips.size(); ++i) {
    const double middle = (places[i].start + places[i].end) / 2;
    if (!(middle > from && middle < to)) continue;
    isFound = true;
    driver_.send(TimelineEvents::SetClipSpeed{clips[i].id, speed, duration}, RecordsUndo::yes);
  }
  // Around a seam that lies in it, too little on either side to be a clip.
  if (!isFound) throw EditorError::splitRangeInvalid(from, to, outputDuration());
}

void EditorCoordinator::changeFacecam(const std::function<void(FacecamSettings&)>& change) {
  assert(sequence_.isCurrent());
  // Cameras of added files show by these settings, too.
  if (!video_.facecamSettings && !edits().sources.empty()) video_.facecamSettings = FacecamSettings();
  if (!video_.facecamSettings) return;
  change(*video_.facecamSettings);
  const auto clips = *edits().cameraClips;
  for (auto clip : clips) {
    change(clip.settings);
    driver_.send(TimelineEvents::UpdateCameraClipSettings{clip.id, clip.settings}, RecordsUndo::yes);
  }
}

// ---- Read-outs ----

const TimelineExportEditPlan& EditorCoordinator::plan() const {
  assert(sequence_.isCurrent());
  if (!plan_) plan_ = TimelineExportEditPlan::build(recording_ ? recording_->duration : 0, edits());
  return *plan_;
}

double EditorCoordinator::outputDuration() const {
  if (!recording_) return 0;
  const double edited = editedDuration();
  return edited > 0 ? edited : recording_->duration;
}

double EditorCoordinator::editedDuration() const {
  return recording_ ? plan().outputDuration : 0;
}

std::optional<double> EditorCoordinator::sourceTime(double outputTime) const {
  return plan().sourceTime(outputTime);
}

double EditorCoordinator::clipSpeed(double outputTime) const {
  if (!plan().sourceTime(outputTime)) return 1;
  return plan().segment(outputTime)->speed;
}

std::size_t EditorCoordinator::autoZoomCount() const {
  return static_cast<std::size_t>(
      std::ranges::count(*edits().zoomRegions, TimelineZoomMode::auto_, &TimelineZoomRegion::mode));
}

bool EditorCoordinator::recordingCameraShows() const {
  assert(sequence_.isCurrent());
  if (!recording_ || !recording_->facecam) return false;
  return std::ranges::any_of(edits().resolvedCameraClips(recording_->duration, video_.facecamSettings),
                             [](const TimelineCameraClip& clip) { return clip.settings.enabled; });
}

Task<bool> EditorCoordinator::hasCamera() const {
  if (loaded().facecam) co_return true;
  co_return co_await runOn(diskExecutor(), anyCamera(recording_->screenVideo, edits().sources));
}

VideoExportFrameRate EditorCoordinator::sourceRate() const {
  constexpr double fastest = 60;
  return loaded().frameRate > fastest ? VideoExportFrameRate::fps60 : VideoExportFrameRate::source;
}

// ---- Captions ----

bool EditorCoordinator::captionsOn() const {
  return edits().captions && edits().captions->on;
}

TimelineCaptionStyle EditorCoordinator::captionStyle() const {
  return edits().captions.value_or(TimelineCaptions()).style;
}

void EditorCoordinator::setCaptionsOn(bool on) {
  driver_.send(TimelineEvents::SetCaptionsOn{on}, RecordsUndo::yes);
}

void EditorCoordinator::setCaptionStyle(TimelineCaptionStyle style) {
  driver_.send(TimelineEvents::SetCaptionStyle{style}, RecordsUndo::yes);
}

std::vector<CaptionBlock> EditorCoordinator::captionBlocks() const {
  return CaptionLayout::blocks(edits(), plan());
}

void EditorCoordinator::editCaption(std::string text, const CaptionBlock& block) {
  driver_.send(TimelineEvents::ReplaceCaptionWords{block.transcriptIndex, block.wordRange.first,
                                                   block.wordRange.last, std::move(text)},
               RecordsUndo::yes);
}

void EditorCoordinator::previewTranscript(TimelineTranscript transcript) {
  driver_.setTranscript(transcript);
}

Task<std::vector<CaptionTarget>> EditorCoordinator::captionTargets() const {
  assert(sequence_.isCurrent());
  if (!recording_) co_return std::vector<CaptionTarget>();
  co_return co_await runOn(diskExecutor(), foundTargets(recording_->screenVideo, edits()));
}

Task<std::vector<CaptionTarget>> EditorCoordinator::missingCaptionTargets() const {
  auto targets = co_await captionTargets();
  co_return CaptionTargets::missing(std::move(targets), edits().captions);
}

Task<std::optional<std::string>> EditorCoordinator::writeShareCaptions(std::filesystem::path target) const {
  if (!captionsOn()) co_return std::nullopt;
  co_await requireTranscripts();
  const auto blocks = captionBlocks();
  if (blocks.empty()) co_return std::nullopt;
  auto language = CaptionLayout::language(blocks, *edits().captions);
  co_await runOn(diskExecutor(), written(std::move(target), CaptionWebVTT::make(blocks, captionStyle())));
  co_return language;
}

// ---- The transcript ----

TranscriptDocument::Document EditorCoordinator::transcript(const std::set<std::string>& pending) const {
  assert(sequence_.isCurrent());
  return TranscriptDocument::document(edits(), recording_ ? recording_->duration : 0, pending);
}

std::vector<TranscriptParagraph> EditorCoordinator::transcriptParagraphs() const {
  return transcript({}).paragraphs;
}

std::optional<TranscriptDocument::Cut> EditorCoordinator::transcriptCut(
    const TranscriptSelection& selection, const TranscriptDocument::Document& document) const {
  return TranscriptDocument::cut(document, selection, editedDuration());
}

void EditorCoordinator::deleteTranscriptSelection(const TranscriptSelection& selection,
                                                  const TranscriptDocument::Document& document) {
  const auto cut = transcriptCut(selection, document);
  if (!cut) return;
  const auto row = audioRowOf(*TranscriptDocument::selected(document, selection), edits());
  if (row == TimelineAudioRow::voice)
    driver_.send(TimelineEvents::DeleteAudioRange{cut->start, cut->end}, RecordsUndo::yes);
  else if (row == TimelineAudioRow::music)
    driver_.send(TimelineEvents::DeleteMusicRange{cut->start, cut->end}, RecordsUndo::yes);
  else
    driver_.send(TimelineEvents::DeleteOutputRange{cut->start, cut->end, loaded().duration},
                 RecordsUndo::yes);
}

Task<std::optional<TimelineEditEvent>> EditorCoordinator::restoreEvent(TranscriptRemovedItem item) const {
  assert(sequence_.isCurrent());
  const auto file = fileOfRemoved(item, recording_, edits());
  if (!file) co_return std::nullopt;
  const auto limit = co_await runOn(diskExecutor(), sourceLimit(file->path));
  // Editing went on meanwhile: everything else is asked of the edit as it is now.
  if (!limit || fileOfRemoved(item, recording_, edits()) != file) co_return std::nullopt;
  const double duration = recording_->duration;
  const auto span = TranscriptDocument::restored(edits(), duration, item);
  if (!span) co_return std::nullopt;
  const auto source = edits().captions->transcripts[item.transcript].source;
  if (file->isAudio) co_return TimelineEvents::RestoreVoiceGap{source, span->start, span->end, duration};
  const auto video = source == primarySourceKey ? std::nullopt : std::optional(source);
  co_return TimelineEvents::RestoreVideoGap{video, span->start, span->end, *limit, duration};
}

Task<std::optional<std::string>> EditorCoordinator::restoreRefusal(TranscriptRemovedItem item) const {
  auto refusal = std::optional<std::string>("");
  if (const auto event = co_await restoreEvent(std::move(item))) refusal = driver_.restoreRefusal(*event);
  if (refusal && refusal->empty()) refusal = "Nothing to restore.";
  co_return refusal;
}

Task<> EditorCoordinator::restore(TranscriptRemovedItem item) {
  if (const auto event = co_await restoreEvent(std::move(item))) driver_.send(*event, RecordsUndo::yes);
}

void EditorCoordinator::fixTranscriptWord(std::size_t transcript, std::size_t word, std::string text) {
  driver_.send(TimelineEvents::ReplaceCaptionWords{transcript, word, word, std::move(text)},
               RecordsUndo::yes);
}

std::string EditorCoordinator::transcriptSpeaker(const TranscriptParagraph& paragraph) const {
  assert(sequence_.isCurrent());
  if (!recording_) return "";
  const auto file = sourceFile(recording_->screenVideo, edits(), paragraph.source);
  return file ? CaptionTargets::displayName(file->name, paragraph.track) : "";
}

Size EditorCoordinator::outputSize(EditorExportQuality quality) const {
  const auto shown = VideoExportSizing::normalizedCropRect(video_.cropSelection, loaded().size);
  return VideoExportSizing::resolvedOutputSize({shown.width, shown.height}, choicesOf(quality));
}

// ---- Results ----

Task<> EditorCoordinator::checkTarget(fs::path target) const {
  co_await runOn(diskExecutor(), refuseOwnFile(loaded(), std::move(target)));
}

TimelineEditSnapshot EditorCoordinator::renderEdits(bool burnsCaptions) const {
  auto result = edits();
  if (!burnsCaptions) result.captions.reset();
  if (recordingCameraShows()) return result;
  // Added files may have cameras of their own, which the layouts of their clips are about.
  if (result.sources.empty()) result.clearCameraLayouts(recording_->duration);
  result.cameraClips = {};
  return result;
}

VideoExportOptions EditorCoordinator::makeVisualOptions(VideoExportOptions choices) const {
  choices.styling = VideoBackgroundStyling::of(video_);
  choices.cropSelection.reset();
  if (!video_.cropSelection.isPassthrough()) choices.cropSelection = video_.cropSelection;
  choices.cursorOverlay = CursorOverlaySettings::hidden();
  choices.cursorTelemetry.reset();
  if (recording_->cursorTelemetry && video_.cursorOverlay.isVisible)
    choices.cursorOverlay = video_.cursorOverlay;
  // A zoom follows the cursor whether it is seen or not.
  if (video_.cursorOverlay.isVisible || !edits().zoomRegions.empty())
    choices.cursorTelemetry = recording_->cursorTelemetry;
  choices.facecamVideo.reset();
  choices.facecamOffsetMs.reset();
  if (recordingCameraShows()) {
    choices.facecamVideo = recording_->facecam;
    choices.facecamOffsetMs = recording_->facecamOffsetMs;
  }
  choices.facecamFallbackSettings = video_.facecamSettings;
  return choices;
}

Task<> EditorCoordinator::requireTranscripts() const {
  if (const auto missing = co_await missingCaptionTargets(); !missing.empty())
    throw CaptionsNotReady(missing.front().name);
}

Task<EditorCoordinator::Rendering> EditorCoordinator::makeRendering(VideoExportOptions choices,
                                                                    bool burnsCaptions) {
  burnsCaptions = burnsCaptions && captionsOn();
  if (burnsCaptions) co_await requireTranscripts();
  co_return Rendering{.source = recording_->screenVideo,
                      .options = makeVisualOptions(std::move(choices)),
                      .edits = renderEdits(burnsCaptions),
                      .wallpapers = services_.wallpapers};
}

Task<VideoExportResult> EditorCoordinator::exportMP4(std::filesystem::path target,
                                                     EditorExportQuality quality, bool burnsCaptions,
                                                     VideoExportRenderer::ProgressHandler progressHandler) {
  auto choices = choicesOf(quality);
  choices.frameRate = sourceRate();
  co_return co_await exportVideo(std::move(target), std::move(choices), burnsCaptions,
                                 std::move(progressHandler));
}

Task<VideoExportResult> EditorCoordinator::exportVideo(std::filesystem::path target,
                                                       VideoExportOptions choices, bool burnsCaptions,
                                                       VideoExportRenderer::ProgressHandler progressHandler) {
  const auto token = std::make_shared<VideoExportCancellationToken>();
  activeExportToken_ = token;
  co_await checkTarget(target);
  auto rendering = co_await makeRendering(std::move(choices), burnsCaptions);
  // Exports take minutes: the threads that others wait for are not theirs.
  SerialQueue queue("quillant.export");
  co_return co_await runOn(
      queue, Rendering::movie(std::move(rendering), std::move(target), token, std::move(progressHandler)));
}

void EditorCoordinator::cancelExport() {
  assert(sequence_.isCurrent());
  if (activeExportToken_) activeExportToken_->cancel();
}

Task<PixelBufferRef> EditorCoordinator::composedFrame(double outputTime, VideoExportOptions choices,
                                                      bool burnsCaptions) {
  loaded();
  auto rendering = co_await makeRendering(std::move(choices), burnsCaptions);
  co_return co_await runOn(diskExecutor(), Rendering::frame(std::move(rendering), outputTime));
}

Task<> EditorCoordinator::writeSharePoster(std::filesystem::path target, int maxWidth) {
  loaded();
  VideoExportOptions choices{.frameRate = sourceRate()};
  // A shared video has its captions beside it.
  constexpr bool burnsCaptions = false;
  auto rendering = co_await makeRendering(std::move(choices), burnsCaptions);
  co_await runOn(diskExecutor(), Rendering::poster(std::move(rendering), std::move(target), maxWidth));
}

}  // namespace quillant
