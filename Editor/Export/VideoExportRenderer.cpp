#include "Editor/Export/VideoExportRenderer.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <thread>

#include "Core/Log.h"
#include "Editor/Export/FrameChain.h"
#include "Editor/Export/ParallelSegments.h"
#include "Editor/Export/VideoExportRendererError.h"
#include "Editor/Export/VideoExportSizing.h"
#include "MediaKit/Composing/SoundMix.h"
#include "MediaKit/Exporting/GIFFileWriter.h"
#include "MediaKit/Exporting/MovieFileWriter.h"
#include "MediaKit/Exporting/SegmentEncoder.h"
#include "MediaKit/Exporting/StreamCopy.h"
#include "MediaKit/MediaError.h"

namespace quillant::VideoExportRenderer {

namespace {

using Kind = VideoExportRendererError::Kind;

/// Frames are asked for this much behind their exact times, in seconds: at a seam whose time is a sum of
/// differences, a frame never falls a rounding short of it and shows what was cut.
constexpr double seamNudge = 1e-6;

double nudged(double time, double end) {
  return std::min(time + seamNudge, end);
}

/// How long a stretch is that is encoded apart from the others. Each begins with a keyframe.
constexpr double segmentDuration = 4;
/// Frames a second of a GIF that follows its source, whatever that has.
constexpr int gifRate = 15;
constexpr int fastestGIFRate = 50;  // players show a picture of a single hundredth for ten

/// The frames of a video, in stretches at places that depend on nothing but the video.
struct FrameGrid {
  FrameGrid(double duration, MediaTime shown)
      : frameDuration(shown),
        count(std::max<std::int64_t>(
            1, static_cast<std::int64_t>(std::ceil(duration / shown.seconds() - 1e-6)))),
        segmentFrames(std::max<std::int64_t>(1, std::llround(segmentDuration / shown.seconds()))),
        // A stretch of less than half the length belongs to the one before it.
        segments(std::max<std::int64_t>(1, (count + segmentFrames / 2) / segmentFrames)) {}

  double time(std::int64_t frame) const { return static_cast<double>(frame) * frameDuration.seconds(); }
  std::int64_t ticks(std::int64_t frame) const {
    return MediaTime{frame * frameDuration.value, frameDuration.timescale}
        .converted(H264Encoder::timescale)
        .value;
  }
  std::int64_t first(std::int64_t segment) const { return segment * segmentFrames; }
  std::int64_t end(std::int64_t segment) const {
    return segment + 1 == segments ? count : first(segment + 1);
  }

  MediaTime frameDuration;
  std::int64_t count;
  std::int64_t segmentFrames;
  std::int64_t segments;
};

void throwIfCancelled(const VideoExportCancellationToken& cancellation) {
  if (cancellation.isCancelled()) throw VideoExportRendererError(Kind::exportCancelled);
}

MediaContainer container(VideoExportFormat format) {
  if (format == VideoExportFormat::gif) throw VideoExportRendererError(Kind::unsupportedFormat);
  return format == VideoExportFormat::mp4 ? MediaContainer::mp4 : MediaContainer::quickTime;
}

VideoInputSettings encoderSettings(const RenderContext& context, const VideoExportOptions& options) {
  return {.width = static_cast<int>(context.outputSize.width),
          .height = static_cast<int>(context.outputSize.height),
          .expectedFrameRate = static_cast<int>(std::lround(1 / context.frameDuration.seconds())),
          .color = ColorTagging::p3D65Rec709,
          .file = FileEncoding{
              .quantizer = VideoExportSizing::quantizer(options.quality),
              .maximumBitRate = VideoExportSizing::averageBitRate(options.quality, context.outputSize)}};
}

MovieFileWriter openWriter(const std::filesystem::path& target, VideoExportFormat format,
                           const VideoInputSettings& settings, std::optional<MovieSoundSettings> sound) {
  try {
    return MovieFileWriter(target, container(format), settings, H264Encoder(settings).configuration(), sound);
  } catch (const MediaError& error) {
    Log::write("the export cannot be encoded: {}", error.description());
    throw VideoExportRendererError(Kind::exportSessionUnavailable);
  }
}

/// Writes sound up to an output time.
class SoundPump {
 public:
  SoundPump(const MediaComposition& composition, MovieFileWriter& writer)
      : mix_(composition.sound, composition.duration, {settings.sampleRate, settings.channels}),
        writer_(writer),
        buffer_(static_cast<std::size_t>(4096 * settings.channels)) {}

  static constexpr MovieSoundSettings settings{};

  void writeUntil(double time) {
    const auto target = std::min(static_cast<std::int64_t>(time * settings.sampleRate), mix_.frameCount());
    while (writer_.soundFrames() < target) {
      const auto count = std::min<std::int64_t>(target - writer_.soundFrames(), 4096);
      const auto samples = std::span(buffer_).first(static_cast<std::size_t>(count * settings.channels));
      mix_.read(samples);
      writer_.writeSound(samples);
    }
  }

 private:
  SoundMix mix_;
  MovieFileWriter& writer_;
  std::vector<float> buffer_;
};

void exportReEncode(const RenderContext& context, const std::filesystem::path& target,
                    const VideoExportOptions& options, const VideoExportCancellationToken& cancellation,
                    const ProgressHandler& progress, const Environment& environment) {
  const auto settings = encoderSettings(context, options);
  const FrameGrid grid(context.duration, context.frameDuration);
  const bool hasSound = !context.built.sound.sound.empty();
  auto writer = openWriter(target, options.format, settings,
                           hasSound ? std::optional(SoundPump::settings) : std::nullopt);
  std::optional<SoundPump> sound;
  if (hasSound) sound.emplace(context.built.sound, writer);

  const RepeatedPicture repeated(settings);
  std::atomic<std::int64_t> composed = 0;
  const auto makeWorker = [&]() -> ParallelSegments::Worker {
    auto chain = std::make_shared<FrameChain>(context.built.instruction, context.built.videoTracks,
                                              FrameChain::Options{.wallpapers = environment.wallpapers});
    return [&, chain](std::size_t segment,
                      const std::function<bool()>& isStopped) -> std::optional<ParallelSegments::Packets> {
      const auto number = static_cast<std::int64_t>(segment);
      SegmentEncoder encoder(settings, repeated, grid.end(number) - grid.first(number));
      ParallelSegments::Packets packets;
      for (auto frame = grid.first(number); frame < grid.end(number); ++frame) {
        if (isStopped()) return std::nullopt;
        const auto picture = chain->frame(nudged(grid.time(frame), context.duration));
        packets.push_back(
            encoder.encode(*picture, grid.ticks(frame), grid.ticks(frame + 1) - grid.ticks(frame)));
        ++composed;
      }
      return packets;
    };
  };

  double reported = 0;
  const auto meanwhile = [&] {
    throwIfCancelled(cancellation);
    const double done = static_cast<double>(composed) / static_cast<double>(grid.count);
    if (done > reported) progress(reported = std::min(done, 1.0));
  };
  const int threads = environment.threads > 0
                          ? environment.threads
                          : std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  ParallelSegments segments(static_cast<std::size_t>(grid.segments), threads, makeWorker);
  while (const auto packets = segments.next(meanwhile)) {
    meanwhile();
    for (const auto& packet : *packets) {
      if (sound) sound->writeUntil(static_cast<double>(packet.time) / H264Encoder::timescale);
      writer.writePicture(packet);
    }
  }
  if (sound) sound->writeUntil(context.built.sound.duration);
  throwIfCancelled(cancellation);
  writer.finish();
}

}  // namespace

RenderContext makeRenderContext(const std::filesystem::path& source, const VideoExportOptions& options,
                                const TimelineEditSnapshot& edits, Sound sound) {
  if (options.format == VideoExportFormat::gif) sound = Sound::leftOut;
  RenderContext context{.source = source,
                        .built = MultiSourceComposition::make(source, edits, options, sound,
                                                              MultiSourceComposition::Purpose::exported)};
  const auto& built = context.built;
  if (!(built.outputDuration > 0)) throw VideoExportRendererError(Kind::emptyTimeline);
  context.duration = built.outputDuration;
  context.outputSize = built.renderSize;
  context.frameDuration = VideoExportSizing::frameDuration(options.frameRate, built.sourceRate);

  const auto sourceShown = VideoExportSizing::frameDuration(VideoExportFrameRate::source, built.sourceRate);
  context.isIdentity =
      options.format == VideoExportFormat::mp4 && options.styling.isPlain() &&
      (!options.cropSelection || options.cropSelection->isPassthrough()) &&
      options.cursorOverlay == CursorOverlaySettings::hidden() && !options.cursorTelemetry &&
      !options.facecamVideo && !edits.hasEdits() &&
      (built.sourceRate == 0 || std::abs(context.frameDuration.seconds() - sourceShown.seconds()) < 0.001) &&
      std::abs(context.outputSize.width - built.sourceSize.width) < 1 &&
      std::abs(context.outputSize.height - built.sourceSize.height) < 1 &&
      StreamCopy::canCopy(source, MediaContainer::mp4);
  return context;
}

PixelBufferRef composedFrame(const RenderContext& context, double time, const Environment& environment) {
  FrameChain chain(
      context.built.instruction, context.built.videoTracks,
      {.composingThreads = environment.threads, .findsChanges = false, .wallpapers = environment.wallpapers});
  const FrameGrid grid(context.duration, context.frameDuration);
  return chain.frame(nudged(std::clamp(time, 0.0, grid.time(grid.count - 1)), context.duration));
}

VideoExportResult exportMovie(const RenderContext& context, const std::filesystem::path& target,
                              const VideoExportOptions& options,
                              const VideoExportCancellationToken& cancellation,
                              const ProgressHandler& progress, const Environment& environment) {
  throwIfCancelled(cancellation);
  if (context.isIdentity) {
    const bool isCopied =
        StreamCopy::copy(context.source, target, container(options.format), [&](double done) {
          progress(done);
          return !cancellation.isCancelled();
        });
    if (!isCopied) throw VideoExportRendererError(Kind::exportCancelled);
  } else {
    exportReEncode(context, target, options, cancellation, progress, environment);
  }
  progress(1);
  return {.didPassthrough = context.isIdentity, .outputSize = context.outputSize};
}

VideoExportResult exportGIF(const RenderContext& context, const std::filesystem::path& target,
                            const VideoExportOptions& options,
                            const VideoExportCancellationToken& cancellation, const ProgressHandler& progress,
                            const Environment& environment) {
  if (options.format != VideoExportFormat::gif) throw VideoExportRendererError(Kind::unsupportedFormat);
  const int rate = std::min(framesPerSecond(options.frameRate).value_or(gifRate), fastestGIFRate);
  const auto count = std::max<std::int64_t>(1, static_cast<std::int64_t>(context.duration * rate));
  // Delays are whole hundredths: rounding times, not delays, they add up.
  const auto hundredths = [&](std::int64_t frame) { return (frame * 100 + rate / 2) / rate; };
  std::optional<GIFFileWriter> writer;
  try {
    writer.emplace(target, static_cast<int>(context.outputSize.width),
                   static_cast<int>(context.outputSize.height),
                   options.gifLoops ? GIFFileWriter::Playing::forEver : GIFFileWriter::Playing::once);
  } catch (const Error&) {
    throw VideoExportRendererError(Kind::gifDestinationUnavailable);
  }
  FrameChain chain(context.built.instruction, context.built.videoTracks,
                   {.decodingThreads = 2,
                    .composingThreads = environment.threads,
                    .findsChanges = false,
                    .wallpapers = environment.wallpapers});
  for (std::int64_t frame = 0; frame < count; ++frame) {
    throwIfCancelled(cancellation);
    PixelBufferRef picture;
    try {
      picture =
          chain.frame(nudged(static_cast<double>(frame) / rate, std::max(context.duration - 0.001, 0.0)));
    } catch (const Error&) {
      throw VideoExportRendererError(Kind::gifFrameGenerationFailed);
    }
    writer->write(*picture, hundredths(frame));
    progress(std::clamp(static_cast<double>(frame + 1) / static_cast<double>(count), 0.02, 0.99));
  }
  throwIfCancelled(cancellation);
  writer->finish(hundredths(count));
  progress(1);
  return {.didPassthrough = false, .outputSize = context.outputSize};
}

}  // namespace quillant::VideoExportRenderer
