#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "Core/JSON.h"
#include "Editor/Project/CursorStyleRegistry.h"
#include "Editor/Project/ProjectDocument.h"

namespace quillant {
namespace {

template <class Record>
Record read(std::string_view text) {
  return JSON::decode<Record>(JSON::parse(text));
}

TEST(ProjectDocument, ComesBackFromItsFileInEveryOptionalShape) {
  for (const bool full : {false, true}) {
    ProjectDocument document{.title = "A", .createdAt = "2026-01-01T00:00:00Z", .updatedAt = "x", .id = "ID"};
    if (full) {
      document.recordingPath = "/v.mp4";
      document.screenshotPath = "/s.png";
      document.sourceName = "Display";
      document.interruptedCause = "why";
      document.share = {"slug", "https://x/s", ProjectShareStatus::ready, "fp", "err", "vid", 12};
      document.recordingSession =
          RecordingSession{"/v.mp4", "/f.mov", -5, FacecamSettings{}, "n", true, "/c.json"};
      ProjectVideoEditorState video;
      video.background = TransparentBackground{};
      video.cropSelection = {.normalizedRect = {0.1, 0.2, 0.3, 0.4}, .sizing = VideoCropCustomSize{640, 480}};
      video.facecamSettings = FacecamSettings{};
      document.editorState = ProjectEditorState{.video = video};
    }
    const auto text = JSON::pretty(document);
    EXPECT_EQ(read<ProjectDocument>(text), document);
    EXPECT_EQ(JSON::parse(text).size(), full ? 12U : 6U);
  }
}

TEST(ProjectDocument, DecodesToleratedShapesToTheirDefaults) {
  const std::string head = R"({"schemaVersion": 9, "title": "", "createdAt": "", "updatedAt": "", "id": "",
                               "share": {"status": "none"})";
  EXPECT_FALSE(read<ProjectDocument>(head + "}").editorState);
  EXPECT_EQ(read<ProjectDocument>(head + R"(, "editorState": {}})").editorState, ProjectEditorState{});
  EXPECT_EQ(read<ProjectVideoEditorState>("{}"), ProjectVideoEditorState{});
  const auto state = read<ProjectVideoEditorState>(R"({"insetBalance": {"left": 1.4, "top": -0.2},
      "cursorOverlay": {"size": 12, "smoothing": -1, "styleID": "gone", "style": "anything", "variant": 3}})");
  EXPECT_EQ(state.insetBalance, (VideoInsetBalance{1, 0}));
  EXPECT_EQ(state.cursorOverlay, (CursorOverlaySettings{.size = 8, .smoothing = 0}));
  EXPECT_EQ(Json(state.cursorOverlay).size(), 8U);
  EXPECT_EQ(ProjectVideoEditorState{}.insetColor,
            (SerializableColor{0x27 / 255.0, 0x6F / 255.0, 0xAA / 255.0, 1}));
}

TEST(ProjectDocument, RefusesWhatItCannotDoWithoutByName) {
  const std::pair<const char*, const char*> cases[] = {
      {R"({"schemaVersion": 3, "title": "", "createdAt": "", "updatedAt": "", "id": ""})", "share"},
      {R"({"schemaVersion": "3", "title": "", "createdAt": "", "updatedAt": "", "id": "", "share": {}})",
       "schemaVersion"},
      {R"({"schemaVersion": 3, "title": "", "createdAt": "", "updatedAt": "", "id": "", "share": {"status": "no"}})",
       "share.status"},
      {R"({"schemaVersion": 3, "title": "", "createdAt": "", "updatedAt": "", "id": "", "share": {"status": "none"},
           "editorState": {"video": {"cropSelection": {"normalizedRect": {"x": 0}}}}})",
       "editorState.video.cropSelection.normalizedRect.y"},
  };
  for (const auto& [text, path] : cases) {
    try {
      read<ProjectDocument>(text);
      ADD_FAILURE() << text;
    } catch (const JSONError& error) {
      EXPECT_EQ(error.path(), path);
    }
  }
}

TEST(VideoCropSelection, ClampsRectanglesIntoThePicture) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(VideoCropSelection::clampedNormalizedRect({0.9, -1, 0.5, 0}), (Rect{0.5, 0, 0.5, 0.0001}));
  EXPECT_EQ(VideoCropSelection::clampedNormalizedRect({0.6, 0.6, -0.5, -0.5}),
            (Rect{0.6 - 0.5, 0.6 - 0.5, 0.5, 0.5}));
  EXPECT_EQ(VideoCropSelection::clampedNormalizedRect({NAN, 0, 1, 1}), Rect{});
  EXPECT_EQ(VideoCropSelection::clampedPixelRect({-5, 2000, 2, 5000}, {1000, 500}), (Rect{0, 0, 8, 500}));
  EXPECT_EQ(VideoCropSelection::clampedPixelRect({0, 0, 9999, 9999}, {-1, infinity}),
            (Rect{0, 0, 1920, 1080}));
  EXPECT_EQ(VideoCropSelection::clampedPixelRect({3, 3, 1, 1}, {4, 4}), (Rect{0, 0, 4, 4}));
  EXPECT_FALSE((VideoCropSelection{.normalizedRect = {0, 0, 1, 0.5}}).isPassthrough());
}

TEST(CursorStyleRegistry, ResolvesEveryStyleAndNoOther) {
  for (const auto& style : CursorStyleRegistry::styles())
    EXPECT_EQ(CursorStyleRegistry::definition(style.id), &style);
  EXPECT_EQ(CursorStyleRegistry::styles().size(), 7U);
  EXPECT_TRUE(CursorStyleRegistry::definition(CursorStyleRegistry::fallbackID));
  EXPECT_FALSE(CursorStyleRegistry::definition("system"));
}

}  // namespace
}  // namespace quillant
