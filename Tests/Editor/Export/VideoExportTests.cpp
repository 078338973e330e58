#include <algorithm>
#include <gtest/gtest.h>

#include "Core/AtomicFile.h"
#include "Editor/Export/EditorPlaybackComposition.h"
#include "Editor/Export/FrameChain.h"
#include "Editor/Export/MultiSourceCompositionError.h"
#include "Editor/Export/VideoExportRenderer.h"
#include "Editor/Export/VideoExportRendererError.h"
#include "Editor/Export/VideoExportSizing.h"
#include "Tests/Support/Media/DecodedMedia.h"
#include "Tests/Support/Media/TestRecording.h"
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
}

TEST(VideoExport, ShowsTheFramesThatThePlanSays) {
  const TemporaryFolder folder;
  const auto source = folder / "recording.mp4";
  TestRecording{.frames = 300, .audioChannels = {1, 2}}.write(source);
  const auto edits = playing({clip(2, 3), clip(0.5, 1.5, 2), clip(1, 1 + 2 / 30.0), clip(6, 10)});
  render(source, folder / "cut.mp4", mp4(), edits);
  const auto plan = TimelineExportEditPlan::build(10, edits);
  const auto media = DecodedMedia::decode(folder / "cut.mp4");
  EXPECT_TRUE(media.errors.empty());
  EXPECT_EQ(media.colors, "smpte432 bt709 bt709 tv, smpte432 bt709 bt709 tv");
  ASSERT_EQ(media.frames.size(), static_cast<std::size_t>(std::ceil(plan.outputDuration * 30 - 1e-6)));
  for (std::size_t i = 0; i < media.frames.size(); ++i) {
    const double time = static_cast<double>(i) / 30;
    EXPECT_NEAR(media.frames[i].time.seconds(), time, 1e-4);
    const auto* segment = plan.segment(time + 1e-6);
    EXPECT_EQ(media.frames[i].stamp, static_cast<std::uint32_t>(segment->sourceTime(time + 1e-6) * 30 + 1e-3))
        << time;
  }
  ASSERT_EQ(media.sounds.size(), 1u);
  EXPECT_NEAR(static_cast<double>(media.sounds[0].samples.size()) / 44'100, plan.outputDuration, 0.03);
}

TEST(VideoExport, GivesTheSameBytesOnAnyNumberOfThreads) {
  const TemporaryFolder folder;
  const auto source = folder / "recording.mp4";
  TestRecording{.frames = 400, .audioChannels = {1}}.write(source);
  auto options = mp4();
  options.styling.background = SerializableColor::fromHex("336699");
  options.styling.paddingRatio = 0.05;
  options.styling.borderRadiusRatio = 0.03;
  options.styling.shadowIntensity = 0.35;
  const auto edits = playing({clip(0, 5), clip(6, 13.3)});
  std::string first;
  for (const int threads : {1, 2, 7}) {
    render(source, folder / "out.mp4", options, edits, threads);
    const auto bytes = AtomicFile::read(folder / "out.mp4");
    if (first.empty()) first = bytes;
    EXPECT_TRUE(bytes == first) << threads;
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
    const auto media = DecodedMedia::decode(folder / "a.gif", DecodedMedia::Keep::pictures);
    ASSERT_EQ(media.frames.size(), 30u) << "15 a second";
    for (std::size_t i = 0; i < 30; ++i)
      EXPECT_NEAR(media.frames[i].time.seconds(), double(i) / 15, 0.0051) << "without drift";
    EXPECT_NEAR(media.duration.seconds(), 2, 0.0051);
  }
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
  EXPECT_THROW(preview(playing({})), VideoExportRendererError);
}

TEST(VideoExport, LeavesNothingBehindThatIsNotWhole) {
  const TemporaryFolder folder;
  const auto source = folder / "recording.mp4";
  TestRecording{.frames = 300, .audioChannels = {1}}.write(source);
  const auto edits = playing({clip(0, 9)});
  const auto kindOf = [&](const std::filesystem::path& target, const TimelineEditSnapshot& asked,
                          auto&& progress, VideoExportCancellationToken& token) -> std::optional<Kind> {
    try {
      VideoExportRenderer::exportMovie(VideoExportRenderer::makeRenderContext(source, mp4(), asked), target,
                                       mp4(), token, progress);
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
  EXPECT_EQ(kindOf(
                source, edits, [](double) {}, token),
            Kind::exportFailed)
      << "never over the recording";
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
