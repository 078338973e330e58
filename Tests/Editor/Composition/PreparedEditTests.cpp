#include <gtest/gtest.h>

#include "Editor/Composition/PreparedEdit.h"
#include "Tests/Support/GeneratedEdits.h"

namespace quillant {
namespace {

TEST(PreparedEdit, AnswersAsTheEditAndItsPlanDo) {
  constexpr double duration = 120;
  const FacecamSettings fallback{.size = 33, .anchor = "top"};
  for (std::uint64_t seed = 0; seed < 40; ++seed) {
    SCOPED_TRACE(seed);
    GeneratedEdits generated(seed);
    auto edits = generated.snapshot(duration, {});
    const auto plan = TimelineExportEditPlan::build(duration, edits);
    std::vector<PreparedEdit::Source> sources{{.duration = duration, .camera = TimelineSpan{0, duration}}};
    for (const auto& id : plan.sourceIDs())
      if (id) sources.push_back({.id = id, .duration = 30, .camera = TimelineSpan{0, 30}});
    const PreparedEdit prepared(edits, sources, fallback, {});
    EXPECT_EQ(prepared.plan(), plan);
    for (int i = 0; i < 60; ++i) {
      const double time = generated.time(-1, plan.outputDuration + 1);
      const auto* segment = plan.segment(time);
      const auto number = prepared.source(time);
      EXPECT_EQ(sources[number].id, segment ? segment->source : std::nullopt);
      for (std::size_t source = 0; source < sources.size(); ++source) {
        const auto pieces = plan.pieces(sources[source].id);
        EXPECT_EQ(prepared.sourceTime(source, time), pieces.sourceTime(time));
        const double played =
            pieces.segments.empty() ? plan.outputDuration : pieces.segments.back().outputEnd;
        const double at = prepared.sourceTime(source, time).value_or(time);
        const auto wanted =
            edits.zooms(sources[source].id)
                .activeCameraSettings(at, std::max(played, sources[source].duration), fallback);
        const auto found = prepared.activeCameraSettings(source, at);
        EXPECT_EQ(found ? std::optional(prepared.cameraSettings(source)[*found]) : std::nullopt, wanted);
      }
    }
  }
}

TEST(PreparedEdit, KeepsLateCameraClipsOfASpedUpEdit) {
  TimelineEditSnapshot edits;
  edits.clipList = CopyOnWriteVector<TimelineClip>({{.start = 0, .end = 100, .speed = 2}});
  edits.cameraClips = {{.span = {80, 100}, .settings = {.size = 15}}};
  const PreparedEdit prepared(edits, {{.duration = 100, .camera = TimelineSpan{0, 100}}}, std::nullopt, {});
  EXPECT_EQ(prepared.activeCameraSettings(0, 20), std::nullopt);
  ASSERT_TRUE(prepared.activeCameraSettings(0, 90).has_value());
  EXPECT_EQ(prepared.cameraSettings(0)[*prepared.activeCameraSettings(0, 90)].size, 15);
}

TEST(PreparedEdit, HoldsTheCameraOverAGapThatWouldFlicker) {
  // The camera has frames from 0.2 to 7.9 of 10 seconds. Two clips meet at 4 and show everything in between.
  const auto edit = [](std::vector<TimelineClip> clips, TimelineSpan camera) {
    TimelineEditSnapshot edits;
    edits.clipList = CopyOnWriteVector<TimelineClip>(std::move(clips));
    edits.zoomRegions = {{.span = {7.95, 9}}};
    return PreparedEdit(edits, {{.duration = 10, .camera = camera}}, FacecamSettings{}, {});
  };
  const auto whole = edit({{.start = 0, .end = 4}, {.start = 4, .end = 10}}, {0.2, 7.9});
  EXPECT_EQ(whole.cameraFrameTime(0, 0.1), 0.2);
  EXPECT_EQ(whole.cameraFrameTime(0, 3), 3);
  EXPECT_EQ(whole.cameraFrameTime(0, 7.92), std::nullopt) << "the gap is of two seconds, whatever cuts it";
  EXPECT_EQ(whole.cameraFrameTime(0, 11), std::nullopt);
  const auto cut = edit({{.start = 1, .end = 8, .speed = 2}, {.start = 0, .end = 1}}, {0.3, 7.9});
  EXPECT_EQ(cut.cameraFrameTime(0, 3.48), 7.9) << "a tenth is played beyond its end";
  EXPECT_EQ(cut.cameraFrameTime(0, 3.6), std::nullopt) << "three tenths before its start";
}

TEST(PreparedCaptions, ShowTheBlockAndTheWordOfATime) {
  const auto block = [](double start, double end) {
    return CaptionBlock{.start = start,
                        .end = end,
                        .words = {{"one", start + 0.1, end}, {"two", start + 0.5, end}},
                        .lines = {{0, 1}}};
  };
  const PreparedCaptions captions({{block(1, 4), block(2, 3), block(6, 7)}, TimelineCaptionStyle::box});
  const std::tuple<double, std::optional<std::size_t>, std::optional<std::size_t>> cases[] = {
      {0.9, std::nullopt, std::nullopt},
      {1, 0, std::nullopt},
      {1.1, 0, 0},
      {1.6, 0, 1},
      {2.2, 1, 0},
      {3, 0, 1},
      {4, std::nullopt, std::nullopt},
      {6.9, 2, 1},
      {7, std::nullopt, std::nullopt}};
  for (const auto& [time, shownBlock, word] : cases) {
    const auto shown = captions.at(time);
    EXPECT_EQ(shown ? std::optional(shown->block) : std::nullopt, shownBlock) << time;
    EXPECT_EQ(shown ? shown->word : std::nullopt, word) << time;
  }
  EXPECT_EQ(captions.key(0), captions.key(1));
}

}  // namespace
}  // namespace quillant
