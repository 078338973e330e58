#include <algorithm>
#include <complex>
#include <gtest/gtest.h>
#include <numbers>
#include <numeric>

#include "Core/AtomicFile.h"
#include "Editor/Export/EditorPlaybackComposition.h"
#include "Editor/Export/FrameChain.h"
#include "Editor/Export/MultiSourceCompositionError.h"
#include "Editor/Export/VideoExportRenderer.h"
#include "Editor/Export/VideoExportRendererError.h"
#include "Editor/Export/VideoExportSizing.h"
#include "Editor/Project/ProjectSourceFiles.h"
#include "MediaKit/MediaError.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/Media/DecodedMedia.h"
#include "Tests/Support/Media/StampedFrames.h"
#include "Tests/Support/Media/TestRecording.h"
#include "Tests/Support/Media/WaveFile.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

namespace {

using Kind = VideoExportRendererError::Kind;

TimelineClip clip(double start, double end, double speed = 1) {
  return {.id = UUID::random(), .start = start, .end = end, .speed = speed};
}

TimelineEditSnapshot playing(std::vector<TimelineClip> clips) {
  TimelineEditSnapshot edits;
  edits.clipList = std::move(clips);
  return edits;
}

VideoExportOptions mp4() {
  VideoExportOptions options;
  options.format = VideoExportFormat::mp4;
  return options;
}

VideoExportResult render(const std::filesystem::path& source, const std::filesystem::path& target,
                         const VideoExportOptions& options, const TimelineEditSnapshot& edits,
                         int threads = 2) {
  const auto context = VideoExportRenderer::makeRenderContext(source, options, edits);
  double last = 0;
  const auto result = VideoExportRenderer::exportMovie(context, target, options, {},
                                                       [&](double done) {
                                                         EXPECT_GE(done, last);
                                                         last = done;
                                                       },
                                                       {.threads = threads, .wallpapers = nullptr});
  EXPECT_EQ(last, 1);
  return result;
}

/// The sound of an export, asked for what should be in it.
class Sound {
 public:
  explicit Sound(std::span<const float> samples) : samples_(samples) {}

  double seconds() const { return static_cast<double>(samples_.size()) / rate; }
  /// The amplitude of a tone in the tenth of a second around a time.
  double tone(double frequency, double time) const {
    std::complex<double> sum;
    for (int i = 0; i < rate / 10; ++i)
      sum += double(samples_[at(time - 0.05) + std::size_t(i)]) *
             std::polar(1.0, -2 * std::numbers::pi * frequency * i / rate);
    return std::abs(sum) * 2 / (rate / 10);
  }
  struct Heard {
    double volume = 0;
    double late = 0;  ///< Seconds.
  };
  /// A recording's own sound from `sourceTime` on, between two times of the output.
  Heard recording(double from, double to, double sourceTime) const {
    const auto expected =
        TestRecording::sound(std::int64_t(at(sourceTime)), int(at(to) - at(from)), 1, rate).samples;
    const auto product = [&](std::span<const float> heard) {
      return std::inner_product(expected.begin(), expected.end(), heard.begin(), 0.0);
    };
    Heard result;
    for (int late = -300; late <= 300; late += 4)
      if (const double volume = product(samples_.subspan(at(from) + std::size_t(late))) / product(expected);
          volume > result.volume)
        result = {volume, double(late) / rate};
    return result;
  }

 private:
  static constexpr int rate = 44'100;
  static std::size_t at(double time) { return static_cast<std::size_t>(std::lround(time * rate)); }

  std::span<const float> samples_;
};

int entries(const std::filesystem::path& folder) {
  return static_cast<int>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

}  // namespace

TEST(VideoExportSizing, FollowsTheResolutionAndTheShape) {
  struct Case {
    Size source;
    VideoExportResolution resolution;
    VideoPreviewAspectPreset aspect;
    Size expected;
  };
  using Resolution = VideoExportResolution;
  using Aspect = VideoPreviewAspectPreset;
  const Case cases[] = {
      {{1280, 721}, Resolution::source, Aspect::auto_, {1280, 720}},
      {{1920, 1080}, Resolution::p720, Aspect::auto_, {1280, 720}},
      {{1080, 1920}, Resolution::p720, Aspect::auto_, {720, 1280}},
      {{1920, 1080}, Resolution::source, Aspect::square, {1080, 1080}},
      {{1920, 1080}, Resolution::twoK, Aspect::vertical, {1440, 2560}},
      {{1920, 1080}, Resolution::fourK, Aspect::portrait, {2160, 2700}},
      {{0, 0}, Resolution::source, Aspect::auto_, {2, 2}},
  };
  for (const auto& [source, resolution, aspect, expected] : cases) {
    VideoExportOptions options;
    options.resolution = resolution;
    options.aspectPreset = aspect;
    EXPECT_EQ(VideoExportSizing::resolvedOutputSize(source, options), expected);
  }
  VideoExportOptions options;
  options.resolution = Resolution::custom;
  options.customOutputSize = Size{641, 361.9};
  EXPECT_EQ(VideoExportSizing::resolvedOutputSize({1920, 1080}, options), (Size{640, 360}));
  options.format = VideoExportFormat::gif;
  EXPECT_EQ(VideoExportSizing::resolvedOutputSize({1920, 1080}, options), (Size{852, 480}));
  EXPECT_EQ(VideoExportSizing::frameDuration(VideoExportFrameRate::source, 29.97), (MediaTime{20, 600}));
  EXPECT_EQ(VideoExportSizing::averageBitRate(VideoExportQuality::highSource, {1280, 720}), 6'222'222);
  EXPECT_EQ(VideoExportSizing::exportSourceDuration(0, 2), 2);
  EXPECT_THROW(VideoExportSizing::exportSourceDuration(0, NAN), MediaError) << "a file without a length";
}

TEST(VideoExport, ShowsAndSoundsAsThePlanSaysAtEverySeam) {
  const TemporaryFolder folder;
  const auto source = folder / "recording.mp4";
  TimelineEditSnapshot edits;
  edits.sources = {{.id = "intro", .fileExtension = "mov"}};
  edits.audioSources = {{.id = "voice", .fileExtension = "wav"}, {.id = "song", .fileExtension = "wav"}};
  TestRecording{.frames = 600, .audioChannels = {1, 2}}.write(source);
  TestRecording{.width = 384, .height = 216, .frameRate = 25, .frames = 250, .audioChannels = {1}}.write(
      ProjectSourceFiles::file(source, edits.sources.front()));
  constexpr double voiceTone = 4000, songTone = 6000, toneLevel = 0.1;
  for (const auto& [file, tone, sampleRate] :
       {std::tuple(edits.audioSources[0], voiceTone, 22'050), {edits.audioSources[1], songTone, 48'000}})
    WaveFile::write(ProjectSourceFiles::file(source, file), sampleRate, 1, 10 * sampleRate, [&](int i) {
      return toneLevel * std::sin(2 * std::numbers::pi * tone * i / sampleRate);
    });

  // Clips of both files in no order of theirs, at every speed, with and without a mix of their own.
  std::vector<TimelineClip> clips;
  for (int i = 0; i < 60; ++i) {
    const bool isAdded = i % 4 == 3;
    const double start = std::fmod(i * 7.37, isAdded ? 8 : 16), length = 0.21 + 0.0137 * (i % 23);
    clips.push_back(clip(start, start + length, TimelineClipSpeed::allowed[i * 3 / 5 % 5]));
    if (isAdded) clips.back().source = "intro";
    if (i % 3 == 1) clips.back().sound = TimelineRecordingSound{.micVolume = 0.25, .systemMuted = true};
  }
  clips.push_back(clip(12, 15));
  clips.back().cameraFullScreen = true;
  edits.clipList = clips;
  edits.recordingSound = {.micVolume = 0.3, .systemVolume = 0.2};
  edits.audioClips = {{.source = "voice", .start = 1, .sourceEnd = 8, .speed = 16, .volume = 0.5},
                      {.source = "voice", .start = 3, .sourceStart = 1, .sourceEnd = 1.05, .speed = 0.01}};
  edits.musicClips = {{.source = "song", .start = 5, .sourceEnd = 6, .volume = 0.8}};
  auto options = mp4();
  options.facecamVideo = folder / "recording.facecam.mov";
  options.facecamOffsetMs = 400;
  options.facecamFallbackSettings = FacecamSettings();
  TestRecording{.frames = 600}.write(*options.facecamVideo);

  render(source, folder / "cut.mp4", options, edits);
  const auto plan = TimelineExportEditPlan::build(20, edits);
  const auto media = DecodedMedia::decode(folder / "cut.mp4", DecodedMedia::Keep::pictures);
  EXPECT_TRUE(media.errors.empty());
  EXPECT_EQ(media.colors, "smpte432 bt709 bt709 tv, smpte432 bt709 bt709 tv");
  ASSERT_EQ(media.frames.size(), static_cast<std::size_t>(std::ceil(plan.outputDuration * 30 - 1e-6)));
  for (std::size_t i = 0; i < media.frames.size(); ++i) {
    const auto& frame = media.frames[i];
    const double time = static_cast<double>(i) / 30 + 1e-6;
    EXPECT_NEAR(frame.time.seconds(), time, 1e-4);
    const auto& segment = *plan.segment(time);
    const bool showsCamera = segment.camera == TimelineCameraLayout::fullScreen;
    if (showsCamera && time < segment.outputStart + 1) continue;  // it grows
    const double shown = segment.sourceTime(time) - (showsCamera ? 0.4 : 0);
    const auto stamp = segment.source ? StampedFrames::read(frame.luma.data(), frame.width, 4) : frame.stamp;
    EXPECT_EQ(stamp, static_cast<std::uint32_t>(shown * (segment.source ? 25 : 30) + 1e-3)) << time;
  }

  ASSERT_EQ(media.sounds.size(), 1u);
  const Sound sound(media.sounds[0].samples);
  EXPECT_NEAR(sound.seconds(), plan.outputDuration, 0.03);
  for (const auto& segment : plan.segments) {
    if (segment.speed != 1) continue;
    constexpr double margin = 0.01;
    const auto heard = sound.recording(segment.outputStart + margin, segment.outputEnd - margin,
                                       segment.sourceStart + margin);
    const auto& mix = segment.sound == TimelineRecordingSound() ? edits.recordingSound : segment.sound;
    EXPECT_NEAR(heard.volume, (segment.source ? 0 : mix.micVolume) + (mix.systemMuted ? 0 : mix.systemVolume),
                0.03)
        << segment.outputStart;
    if (heard.volume > 0.1) {
      EXPECT_NEAR(heard.late, 0, 0.0005) << segment.outputStart;
    }
  }
  for (const auto& [time, volume] :
       {std::pair(0.9, 0.0), {1.25, 0.5}, {1.65, 0.0}, {2.85, 0.0}, {3.5, 1.0}, {4.2, 0.0}})
    EXPECT_NEAR(sound.tone(voiceTone, time), toneLevel * volume, 0.02) << time;
  for (const auto& [time, volume] :
       {std::pair(4.9, 0.0), {5.5, 0.25}, {6.5, 0.75}, {8.0, 1.0}, {10.0, 0.5}, {11.1, 0.0}})
    EXPECT_NEAR(sound.tone(songTone, time), toneLevel * 0.8 * volume, 0.005) << time;
}

TEST(VideoExport, GivesTheSameBytesOnAnyNumberOfThreads) {
  const TemporaryFolder folder;
  const auto moving = folder / "moving.mp4", partly = folder / "partly.mp4";
  TestRecording{.frames = 400, .audioChannels = {1}}.write(moving);
  // Of each three pictures one is new, in a part of it; for seven seconds, over stretches that are encoded
  // apart, all are the same.
  TestRecording{.frames = 400,
                .picture =
                    [](int width, int height, std::uint32_t index) {
                      const auto still = std::clamp(index, 90U, 300U) - 90;
                      return StampedFrames::mostlyStill(width, height, (index - still) / 3);
                    }}
      .write(partly);
  auto options = mp4();
  options.styling.background = SerializableColor::fromHex("336699");
  options.styling.paddingRatio = 0.05;
  options.styling.borderRadiusRatio = 0.03;
  options.styling.shadowIntensity = 0.35;
  auto zoomed = playing({clip(0, 2, 1.5), clip(2.5, 13.3)});
  zoomed.zoomRegions = std::vector{TimelineZoomRegion{.span = {0.5, 4}}, {.span = {5, 11}}};
  const std::pair<std::filesystem::path, TimelineEditSnapshot> cases[] = {
      {moving, playing({clip(0, 5), clip(6, 13.3)})}, {partly, playing({clip(0, 13.3)})}, {partly, zoomed}};
  for (const auto& [source, edits] : cases) {
    std::string first;
    for (const int threads : {1, 2, 7}) {
      render(source, folder / "out.mp4", options, edits, threads);
      const auto bytes = AtomicFile::read(folder / "out.mp4");
      if (first.empty()) first = bytes;
      EXPECT_TRUE(bytes == first) << threads;
    }
  }
}

TEST(VideoExport, ShowsAnyMomentAsTheVideoWould) {
  const TemporaryFolder folder;
  const auto source = folder / "recording.mp4";
  TestRecording{.frames = 400, .audioChannels = {1}}.write(source);
  auto edits = playing({clip(0, 1.1), clip(6, 13.29)});
  edits.clipList->mutate()[1].sound = TimelineRecordingSound{.voiceCleanup = true};
  edits.audioClips = {{.source = "lost", .sourceEnd = 8}};
  EXPECT_THROW(VideoExportRenderer::makeRenderContext(source, mp4(), edits), MultiSourceCompositionError);
  const auto context =
      VideoExportRenderer::makeRenderContext(source, mp4(), edits, VideoExportRenderer::Sound::leftOut);
  for (const auto& [time, stamp] : {std::pair(-1.0, 0U), {1.0, 30U}, {1.1, 180U}, {99.0, 398U}}) {
    const auto frame = VideoExportRenderer::composedFrame(context, time);
    EXPECT_EQ(StampedFrames::read(frame->planes[0].data, frame->planes[0].stride), stamp) << time;
  }
}

TEST(VideoExport, MakesGIFsWhoseDelaysAddUp) {
  const TemporaryFolder folder;
  const auto source = folder / "recording.mp4";
  TestRecording{.frames = 120}.write(source);
  VideoExportOptions options;
  options.format = VideoExportFormat::gif;
  options.gifSize = VideoExportGIFSize::original;
  options.frameRate = VideoExportFrameRate::source;
  for (const bool loops : {true, false}) {
    options.gifLoops = loops;
    const auto context = VideoExportRenderer::makeRenderContext(source, options, playing({clip(1, 3)}));
    VideoExportRenderer::exportGIF(context, folder / "a.gif", options, {}, [](double) {});
    const auto bytes = AtomicFile::read(folder / "a.gif");
    EXPECT_EQ(bytes.find("NETSCAPE2.0") != std::string::npos, loops);
    VideoExportCancellationToken late;
    EXPECT_THROW(VideoExportRenderer::exportGIF(context, folder / "b.gif", options, late,
                                                [&](double done) {
                                                  if (done > 0.98) late.cancel();
                                                }),
                 VideoExportRendererError);
    EXPECT_EQ(entries(folder.path()), 2) << "no file after the last frame either";
    const auto media = DecodedMedia::decode(folder / "a.gif", DecodedMedia::Keep::pictures);
    ASSERT_EQ(media.frames.size(), 30u) << "15 a second";
    for (std::size_t i = 0; i < 30; ++i)
      EXPECT_NEAR(media.frames[i].time.seconds(), double(i) / 15, 0.0051) << "without drift";
    EXPECT_NEAR(media.duration.seconds(), 2, 0.0051);
  }
  options.frameRate = VideoExportFrameRate::fps60;
  VideoExportRenderer::exportGIF(
      VideoExportRenderer::makeRenderContext(source, options, playing({clip(1, 3)})), folder / "fast.gif",
      options, {}, [](double) {});
  const auto fast = DecodedMedia::decode(folder / "fast.gif", DecodedMedia::Keep::pictures);
  EXPECT_EQ(fast.frames.size(), 100u) << "no delay so short that players show it longer";
  EXPECT_NEAR(fast.duration.seconds(), 2, 0.0051);
}

TEST(VideoExport, CopiesWhatNothingChanges) {
  const TemporaryFolder folder;
  const auto source = folder / "recording.mp4";
  TestRecording{.frames = 60, .audioChannels = {1}}.write(source);
  auto options = mp4();
  EXPECT_TRUE(render(source, folder / "copy.mp4", options, {}).didPassthrough);
  const auto isIdentity = [&](const TimelineEditSnapshot& edits) {
    return VideoExportRenderer::makeRenderContext(source, options, edits).isIdentity;
  };
  EXPECT_FALSE(isIdentity(playing({clip(0, 1)})));
  options.format = VideoExportFormat::mov;
  EXPECT_FALSE(isIdentity({}));
  options = mp4();
  options.frameRate = VideoExportFrameRate::fps60;
  EXPECT_FALSE(isIdentity({}));
  options = mp4();
  options.resolution = VideoExportResolution::p480;
  EXPECT_FALSE(isIdentity({}));
  // What an MP4 cannot hold is encoded.
  ChildProcess ffmpeg({"ffmpeg", "-v", "error", "-i", source.string(), "-c:v", "copy", "-c:a",
                       "adpcm_ima_wav", (folder / "odd.mov").string()});
  ASSERT_EQ(ffmpeg.wait(), 0) << ffmpeg.readAll();
  EXPECT_FALSE(render(folder / "odd.mov", folder / "copy.mp4", mp4(), {}).didPassthrough);
}

TEST(EditorPlaybackComposition, IsWhatAnExportIsButForItsAnnotationsAndUncleanedVoices) {
  const TemporaryFolder folder;
  const auto source = folder / "recording.mp4";
  TestRecording{.frames = 60, .audioChannels = {1}}.write(source);
  const auto preview = [&](const TimelineEditSnapshot& edits) {
    return EditorPlaybackComposition::make(source, edits, mp4(), MultiSourceComposition::Sound::included);
  };
  auto edits = playing({clip(0.5, 2)});
  const auto cut = preview(edits);
  EXPECT_FALSE(cut.composesFrames);
  EXPECT_EQ(cut.frameDuration, (MediaTime{20, 600}));
  EXPECT_NEAR(cut.built.instruction->requiredPictures(0.1).sourceTime, 0.6, 1e-9);

  edits.annotationRegions = std::vector{TimelineAnnotationRegion{.span = {1, 2}, .x = 0.5, .y = 0.5}};
  edits.zoomRegions = std::vector{TimelineZoomRegion{.span = {0.5, 0.8}}};
  const auto annotated = preview(edits);
  EXPECT_TRUE(annotated.composesFrames);
  const auto exported = VideoExportRenderer::makeRenderContext(source, mp4(), edits);
  const auto lumaAt = [](const MultiSourceComposition::Built& built, double time) {
    const auto frame = FrameChain(built.instruction, built.videoTracks, {}).frame(time);
    return static_cast<double>(frame->planes[0].data[54 * frame->planes[0].stride + 40]);
  };
  EXPECT_EQ(lumaAt(annotated.built, 0.4), lumaAt(exported.built, 0.4));
  EXPECT_NEAR(16 + 0.38 * (lumaAt(annotated.built, 1) - 16), lumaAt(exported.built, 1), 2);

  auto spoken = clip(0, 2);
  spoken.sound = TimelineRecordingSound{.voiceCleanup = true};
  EXPECT_EQ(preview(playing({spoken})).built.sound.sound.size(), 1U);
  EXPECT_THROW(VideoExportRenderer::makeRenderContext(source, mp4(), playing({spoken})),
               MultiSourceCompositionError);
  auto song = playing({clip(0, 2)});
  song.audioSources = {{.id = "song", .fileExtension = "mp4"}};
  song.musicClips = {{.source = "song", .sourceEnd = 2, .voiceCleanup = true}};
  std::filesystem::copy(source, ProjectSourceFiles::file(source, song.audioSources->front()));
  EXPECT_EQ(preview(song).built.sound.sound.size(), 2U);
  EXPECT_NO_THROW(VideoExportRenderer::makeRenderContext(source, mp4(), song)) << "music is no voice";
  EXPECT_THROW(preview(playing({})), VideoExportRendererError);
}

TEST(VideoExport, LeavesNothingBehindThatIsNotWhole) {
  const TemporaryFolder folder;
  const auto source = folder / "recording.mp4";
  TestRecording{.frames = 300, .audioChannels = {1}}.write(source);
  const auto edits = playing({clip(0, 9)});
  auto options = mp4();
  const auto kindOf = [&](const std::filesystem::path& target, const TimelineEditSnapshot& asked,
                          auto&& progress, VideoExportCancellationToken& token) -> std::optional<Kind> {
    try {
      VideoExportRenderer::exportMovie(VideoExportRenderer::makeRenderContext(source, options, asked), target,
                                       options, token, progress);
    } catch (const VideoExportRendererError& error) {
      return error.kind();
    }
    return std::nullopt;
  };
  VideoExportCancellationToken cancelled;
  EXPECT_EQ(kindOf(
                folder / "a.mp4", edits, [&](double) { cancelled.cancel(); }, cancelled),
            Kind::exportCancelled);
  VideoExportCancellationToken token;
  EXPECT_EQ(kindOf(
                folder / "a.mp4", playing({}), [](double) {}, token),
            Kind::emptyTimeline);
  options.resolution = VideoExportResolution::custom;
  options.customOutputSize = Size{20'000, 108};
  EXPECT_EQ(kindOf(
                folder / "a.mp4", edits, [](double) {}, token),
            Kind::exportSessionUnavailable)
      << "larger than the encoder takes";
  options = mp4();
  EXPECT_THROW(kindOf(
                   folder / "nowhere" / "a.mp4", edits, [](double) {}, token),
               FileError);
  auto added = edits;
  added.clipList->mutate()[0].source = "lost";
  added.sources = {{.id = "lost", .fileExtension = "mov", .displayName = "Intro"}};
  try {
    kindOf(
        folder / "a.mp4", added, [](double) {}, token);
    ADD_FAILURE();
  } catch (const MultiSourceCompositionError& error) {
    EXPECT_EQ(error.description(), "The added clip “Intro” is missing from the project folder.");
  }
  // A recording that shrinks while it is read.
  const auto context = VideoExportRenderer::makeRenderContext(source, mp4(), edits);
  std::filesystem::resize_file(source, std::filesystem::file_size(source) / 2);
  EXPECT_ANY_THROW(VideoExportRenderer::exportMovie(context, folder / "a.mp4", mp4(), token, [](double) {}));
  EXPECT_EQ(entries(folder.path()), 1);
}

}  // namespace quillant
