#include <benchmark/benchmark.h>
#include <filesystem>
#include <fstream>

#include "Core/JSON.h"
#include "Core/UUID.h"
#include "Editor/Project/ProjectStore.h"

namespace quillant {
namespace {

/// A store of `count` projects with the edit of a few minutes' recording each: 20 zooms, 20 clips, and 600
/// words that were said.
ProjectStore makeStore(const std::filesystem::path& folder, int count) {
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  ProjectEditorState state{.video = ProjectVideoEditorState{}};
  std::vector<TimelineClip> clips;
  for (int i = 0; i < 20; ++i) {
    state.timelineEdits.zoomRegions.mutate().push_back(
        {.id = UUID::random(), .span = {.start = i * 10.0, .end = i * 10.0 + 3}});
    clips.push_back({.id = UUID::random(), .start = i * 10.0, .end = i * 10.0 + 9, .source = "added"});
  }
  state.timelineEdits.setClips(clips, 200);
  std::vector<TimelineCaptionWord> words;
  for (int i = 0; i < 600; ++i) words.push_back({i / 3.0, i / 3.0 + 0.3, "word"});
  TimelineCaptions captions;
  captions.transcripts.push_back({.language = "en", .words = words});
  state.timelineEdits.captions = captions;
  ProjectDocument document{.title = "Recording",
                           .createdAt = "2026-01-01T00:00:00Z",
                           .updatedAt = "2026-01-01T00:00:00Z",
                           .editorState = state};
  for (int i = 0; i < count; ++i) {
    document.id = std::to_string(i);
    std::ofstream(folder / (document.id + ".json")) << JSON::pretty(document);
  }
  return ProjectStore{folder};
}

enum class Work { listFirst, listAgain, rename, import };

/// One piece of work in a folder of as many projects as the range says.
void inFolder(benchmark::State& state, Work work) {
  const auto folder = std::filesystem::temp_directory_path() / "quillant-store-benchmark";
  const auto store = makeStore(folder, static_cast<int>(state.range(0)));
  const std::string manifest = R"({"schemaVersion": 3, "title": "T", "createdAt": "c", "updatedAt": "u",
                                   "share": {"status": "ready", "slug": "s"}})";
  store.refreshIndex();
  int round = 0;
  for (auto _ : state) switch (work) {
      case Work::listFirst:
        std::filesystem::remove(folder / "index.json");
        [[fallthrough]];
      case Work::listAgain:
        benchmark::DoNotOptimize(store.refreshIndex());
        break;
      case Work::rename:
        store.rename("0", std::to_string(++round));
        break;
      case Work::import:
        store.importProject(manifest, std::nullopt, {.screenVideoPath = "/a.mp4"});
        break;
    }
  std::filesystem::remove_all(folder);
}
BENCHMARK_CAPTURE(inFolder, listFirst, Work::listFirst)->Arg(200)->Arg(5000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(inFolder, listAgain, Work::listAgain)->Arg(200)->Arg(5000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(inFolder, rename, Work::rename)->Arg(200)->Arg(5000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(inFolder, import, Work::import)->Arg(200)->Arg(5000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quillant
