#include "Editor/Export/MultiSourceComposition.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "CaptureEngine/Telemetry/CursorTelemetryCodec.h"
#include "Core/AtomicFile.h"
#include "Editor/Captions/CaptionLayout.h"
#include "Editor/Composition/RecordingAudioTracks.h"
#include "Editor/Export/MultiSourceCompositionError.h"
#include "Editor/Export/VideoExportRendererError.h"
#include "Editor/Export/VideoExportSizing.h"
#include "Editor/Project/ProjectSourceFiles.h"
#include "Editor/Timeline/TimelineMusic.h"
#include "Editor/Timeline/TimelineTolerances.h"
#include "MediaKit/MediaError.h"
#include "MediaKit/Reading/AssetProbe.h"

namespace quillant::MultiSourceComposition {

namespace {

using Kind = MultiSourceCompositionError::Kind;
using Segment = TimelineExportEditPlan::Segment;

/// Volumes nearer to 1 than this are 1.
constexpr double volumeTolerance = 0.0001;
constexpr std::string_view recordingName = "the recording";

/// A camera that was recorded with a file.
struct Camera {
  std::filesystem::path file;
  double offsetMs = 0;
  MediaTrack track;
};

struct OpenedSource {
  std::optional<std::string> id;  ///< None is the main recording.
  TimelineSource::Kind kind = TimelineSource::Kind::recording;
  std::string name;
  std::filesystem::path file;
  double duration = 0;  ///< Seconds.
  MediaTrack video;
  std::vector<MediaTrack> sounds;
  std::optional<Camera> camera;
  std::shared_ptr<const CursorTelemetryTrack> cursor;

  std::string key() const { return id.value_or(std::string(primarySourceKey)); }
};

bool isThere(const std::filesystem::path& path) {
  std::error_code failed;
  return std::filesystem::exists(path, failed);
}

std::optional<std::filesystem::path> ifThere(std::filesystem::path path) {
  if (!isThere(path)) return std::nullopt;
  return path;
}

std::shared_ptr<const CursorTelemetryTrack> readCursor(const std::optional<std::filesystem::path>& file) {
  if (!file) return nullptr;
  try {
    return std::make_shared<CursorTelemetryTrack>(CursorTelemetryCodec::decode(AtomicFile::read(*file)));
  } catch (const Error&) {
    return nullptr;  // a video without its cursor is better than none
  }
}

std::optional<Camera> openCamera(const std::optional<std::filesystem::path>& file, double offsetMs) {
  if (!file) return std::nullopt;
  try {
    const auto tracks = AssetProbe::probe(*file).tracksOfKind(MediaTrack::Kind::video);
    if (tracks.empty()) return std::nullopt;
    return Camera{*file, offsetMs, tracks.front()};
  } catch (const Error&) {
    return std::nullopt;
  }
}

double lengthOf(const MediaAsset& asset, const MediaTrack& video) {
  return VideoExportSizing::exportSourceDuration(asset.duration.seconds(), video.duration.seconds());
}

OpenedSource openPrimary(const std::filesystem::path& file, const VideoExportOptions& options) {
  const auto asset = AssetProbe::probe(file);
  const auto videos = asset.tracksOfKind(MediaTrack::Kind::video);
  if (videos.empty()) throw VideoExportRendererError(VideoExportRendererError::Kind::missingVideoTrack);
  return {
      .id = {},
      .kind = TimelineSource::Kind::recording,
      .name = std::string(recordingName),
      .file = file,
      .duration = lengthOf(asset, videos.front()),
      .video = videos.front(),
      .sounds = asset.tracksOfKind(MediaTrack::Kind::audio),
      .camera = openCamera(options.facecamVideo, static_cast<double>(options.facecamOffsetMs.value_or(0))),
      .cursor = readCursor(options.cursorTelemetry)};
}

OpenedSource openAdded(const std::filesystem::path& primary, const std::string& id,
                       const TimelineEditSnapshot& edits) {
  const auto known = std::ranges::find(edits.sources, id, &TimelineSource::id);
  if (known == edits.sources.end()) throw MultiSourceCompositionError(Kind::missingSourceFile, id);
  const auto file = ProjectSourceFiles::file(primary, *known);
  if (!isThere(file)) throw MultiSourceCompositionError(Kind::missingSourceFile, known->displayName);
  const auto sidecar = [&](std::string_view extension) {
    return ifThere(ProjectSourceFiles::sidecar(primary, id, extension));
  };
  try {
    const auto asset = AssetProbe::probe(file);
    const auto videos = asset.tracksOfKind(MediaTrack::Kind::video);
    if (!videos.empty())
      return {.id = id,
              .kind = known->kind,
              .name = known->displayName,
              .file = file,
              .duration = lengthOf(asset, videos.front()),
              .video = videos.front(),
              .sounds = asset.tracksOfKind(MediaTrack::Kind::audio),
              .camera = openCamera(sidecar(ProjectSourceFiles::facecamExtension),
                                   static_cast<double>(known->facecamOffsetMs.value_or(0))),
              .cursor = readCursor(sidecar(ProjectSourceFiles::cursorExtension))};
  } catch (const Error&) {
    // It is no video that can be read either.
  }
  throw MultiSourceCompositionError(Kind::unreadableSource, known->displayName);
}

/// A range of a source at its place; none of one that is too short to be seen or heard.
std::optional<MediaRange> place(const Segment& segment) {
  const double length = segment.sourceEnd - segment.sourceStart;
  if (!std::isfinite(length) || !(length > timeTolerance)) return std::nullopt;
  return MediaRange{segment.sourceStart, segment.sourceEnd, segment.outputStart, segment.outputEnd};
}

// ---- Sound ----

/// Steps at the segments' starts; none where all are at full volume.
std::vector<VolumePoint> steps(const std::vector<std::pair<double, double>>& volumes) {
  if (std::ranges::all_of(volumes,
                          [](const auto& step) { return std::abs(step.second - 1) <= volumeTolerance; }))
    return {};
  std::vector<VolumePoint> points{{0, 1}};
  for (const auto& [time, volume] : volumes) {
    if (points.back().volume == volume) continue;
    points.push_back({time, points.back().volume});
    points.push_back({time, volume});
  }
  return points;
}

class SoundBuilder {
 public:
  SoundBuilder(const std::filesystem::path& primary, const TimelineEditSnapshot& edits, Purpose purpose,
               double duration)
      : primary_(primary), edits_(edits), purpose_(purpose) {
    composition_.duration = duration;
  }

  /// The sound that was recorded with a file.
  void addRecorded(const OpenedSource& source, const TimelineExportEditPlan& pieces) {
    const auto voices = RecordingAudioTracks::voices(source.kind, source.sounds);
    for (std::size_t track = 0; track < voices.size(); ++track) {
      const bool wantsCleaned = voices[track] == TimelineTranscriptTrack::mic &&
                                std::ranges::any_of(pieces.segments, [](const Segment& segment) {
                                  return segment.sound.voiceCleanup;
                                });
      const auto cleaned = wantsCleaned ? cleanedVoice(source.key(), source.name) : std::nullopt;
      MediaCompositionTrack plain{
          .file = source.file, .track = static_cast<int>(track), .ranges = {}, .volume = {}};
      MediaCompositionTrack clean{.file = cleaned.value_or(""), .track = 0, .ranges = {}, .volume = {}};
      std::vector<std::pair<double, double>> volumes;
      for (const auto& segment : pieces.segments) {
        const auto range = place(segment);
        if (!range) continue;
        volumes.emplace_back(range->start, RecordingAudioTracks::volume(segment, voices[track], edits_));
        (cleaned && segment.sound.voiceCleanup ? clean : plain).ranges.push_back(*range);
      }
      plain.volume = clean.volume = steps(volumes);
      add(std::move(plain));
      add(std::move(clean));
    }
  }

  /// One track a file, however many clips play it.
  void addRow(const CopyOnWriteVector<TimelineAudioClip>& row, TimelineMuteRow kind) {
    if (edits_.isMuted(kind)) return;
    const bool isMusic = kind == TimelineMuteRow::music;
    const auto runs =
        isMusic ? TimelineMusic::runs(row, composition_.duration) : std::vector<TimelineMusic::Run>{};
    auto clips = *row;
    std::ranges::stable_sort(clips, {}, &TimelineAudioClip::start);
    std::map<std::filesystem::path, MediaCompositionTrack> tracks;
    for (const auto& clip : clips) {
      const double end = std::min(clip.end(), composition_.duration);
      if (clip.muted || !(end - clip.start > timeTolerance)) continue;
      auto& track = tracks[fileOf(clip, kind)];
      track.ranges.push_back(
          {clip.sourceStart, clip.sourceStart + (end - clip.start) * clip.rate(), clip.start, end});
      const auto envelope =
          isMusic ? TimelineMusic::envelope(clip, runs, composition_.duration) : TimelineMusic::Envelope{};
      appendVolume(track.volume, clip, end, envelope);
    }
    for (auto& [file, track] : tracks) {
      track.file = file;
      add(std::move(track));
    }
  }

  MediaComposition take() { return std::move(composition_); }

 private:
  void add(MediaCompositionTrack track) {
    if (!track.ranges.empty()) composition_.sound.push_back(std::move(track));
  }

  static void appendVolume(std::vector<VolumePoint>& points, const TimelineAudioClip& clip, double end,
                           const TimelineMusic::Envelope& envelope) {
    const double volume = std::clamp(clip.volume, 0.0, 1.0);
    points.push_back({clip.start, envelope.initial * volume});
    for (const auto& ramp : envelope.ramps) {
      // Steady up to the ramp, which may begin later.
      points.push_back({ramp.start, ramp.fromGain * volume});
      points.push_back({ramp.end, ramp.toGain * volume});
    }
    points.push_back({end, points.back().volume});
  }

  std::optional<std::filesystem::path> cleanedVoice(std::string_view key, const std::string& name) const {
    auto file =
        ifThere(ProjectSourceFiles::sidecar(primary_, key, ProjectSourceFiles::cleanedVoiceExtension));
    if (!file && purpose_ == Purpose::exported)
      throw MultiSourceCompositionError(Kind::voiceNotCleaned, name);
    return file;
  }

  /// The file that the clip plays: its source, which is opened once to know that it can be, or a voice's
  /// cleaned copy.
  std::filesystem::path fileOf(const TimelineAudioClip& clip, TimelineMuteRow row) {
    const auto known = std::ranges::find(edits_.audioSources, clip.source, &TimelineAudioSource::id);
    if (known == edits_.audioSources.end())
      throw MultiSourceCompositionError(Kind::missingAudioFile, clip.source);
    auto [entry, isNew] = files_.try_emplace(clip.source);
    if (isNew) {
      entry->second = ProjectSourceFiles::file(primary_, *known);
      if (!isThere(entry->second))
        throw MultiSourceCompositionError(Kind::missingAudioFile, known->displayName);
      bool isReadable = false;
      try {
        isReadable = !AssetProbe::probe(entry->second).tracksOfKind(MediaTrack::Kind::audio).empty();
      } catch (const Error&) {
        isReadable = false;
      }
      if (!isReadable) throw MultiSourceCompositionError(Kind::unreadableAudio, known->displayName);
    }
    if (row == TimelineMuteRow::voice && clip.voiceCleanup.value_or(false))
      return cleanedVoice(clip.source, known->displayName).value_or(entry->second);
    return entry->second;
  }

  const std::filesystem::path& primary_;
  const TimelineEditSnapshot& edits_;
  Purpose purpose_;
  MediaComposition composition_;
  std::map<std::string, std::filesystem::path> files_;
};

// ---- Pictures ----

/// Where a camera has frames, on its recording's clock.
TimelineSpan cameraSpan(const Camera& camera) {
  const double offset = camera.offsetMs / 1000;
  return {offset, camera.track.duration.seconds() + offset};
}

std::shared_ptr<VideoBackgroundCompositionInstruction> instructionOf(const OpenedSource& source,
                                                                     PreparedEdit::SourceNumber number,
                                                                     const VideoExportOptions& options,
                                                                     std::vector<VideoTrack>& tracks) {
  const auto nextID = [&tracks] { return static_cast<int>(tracks.size()) + 1; };
  auto instruction = std::make_shared<VideoBackgroundCompositionInstruction>();
  instruction->sourceTrackID = nextID();
  tracks.push_back({instruction->sourceTrackID, source.file, 0});
  instruction->source = number;
  instruction->styling = options.styling;
  instruction->preferredTransform = source.video.upright;
  instruction->normalizedSize = source.video.displaySize;
  if (source.camera) {
    instruction->facecamTrackID = nextID();
    tracks.push_back(
        {*instruction->facecamTrackID, source.camera->file, -cameraTime(0, source.camera->offsetMs)});
    instruction->facecamPreferredTransform = source.camera->track.upright;
    instruction->facecamNormalizedSize = source.camera->track.displaySize;
  }
  // A crop is the main recording's only.
  instruction->cropRect = VideoExportSizing::normalizedCropRect(
      source.id ? std::nullopt : options.cropSelection, source.video.displaySize);
  instruction->cursorTrack = source.cursor;
  instruction->cursorSettings = options.cursorOverlay.clamped();
  return instruction;
}

CaptionRenderPlan captions(const TimelineEditSnapshot& edits, const TimelineExportEditPlan& plan) {
  if (!edits.captions || !edits.captions->on) return {};
  return {.blocks = CaptionLayout::blocks(edits, plan), .style = edits.captions->style};
}

}  // namespace

Built make(const std::filesystem::path& primary, const TimelineEditSnapshot& edits,
           const VideoExportOptions& options, Sound sound, Purpose purpose) {
  std::vector<OpenedSource> opened{openPrimary(primary, options)};
  const double primaryDuration = opened.front().duration;
  const auto resolved = edits.withClipSounds(primaryDuration);
  const auto plan = TimelineExportEditPlan::build(primaryDuration, resolved);
  for (const auto& id : plan.sourceIDs())
    if (id) opened.push_back(openAdded(primary, *id, resolved));

  Built built;
  built.sourceSize = opened.front().video.displaySize;
  built.sourceRate = opened.front().video.nominalFrameRate;
  built.outputDuration = plan.outputDuration;
  std::vector<std::shared_ptr<VideoBackgroundCompositionInstruction>> instructions;
  std::vector<PreparedEdit::Source> sources;
  for (const auto& source : opened) {
    instructions.push_back(instructionOf(source, instructions.size(), options, built.videoTracks));
    sources.push_back({.id = source.id,
                       .duration = source.duration,
                       .camera = source.camera ? std::optional(cameraSpan(*source.camera)) : std::nullopt});
  }
  built.renderSize = VideoExportSizing::resolvedOutputSize(
      {instructions.front()->cropRect.width, instructions.front()->cropRect.height}, options);
  const auto prepared = std::make_shared<const PreparedEdit>(
      resolved, std::move(sources), options.facecamFallbackSettings, captions(resolved, plan));
  for (auto& instruction : instructions) {
    instruction->renderSize = built.renderSize;
    instruction->edit = prepared;
    instruction->showsAnnotations = purpose == Purpose::exported;
  }
  auto& main = *instructions.front();
  main.sourceInstructions.assign(instructions.begin(), instructions.end());
  main.sourceInstructions.front() = nullptr;  // itself
  built.instruction = instructions.front();

  if (sound == Sound::included) {
    SoundBuilder builder(primary, resolved, purpose, plan.outputDuration);
    for (const auto& source : opened) builder.addRecorded(source, plan.pieces(source.id));
    builder.addRow(resolved.audioClips, TimelineMuteRow::voice);
    builder.addRow(resolved.musicClips, TimelineMuteRow::music);
    built.sound = builder.take();
  }
  return built;
}

}  // namespace quillant::MultiSourceComposition
