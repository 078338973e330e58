#include <benchmark/benchmark.h>
#include <filesystem>

#include "Core/UUID.h"
#include "Editor/Project/ProjectStore.h"

namespace quillant {
namespace {

/// A store of `count` projects with the edit of a few minutes' recording each: 20 zooms and 20 clips.
ProjectStore makeStore(const std::filesystem::path& folder, int count) {
  std::filesystem::remove_all(folder);
  const ProjectStore store{folder};
  ProjectEditorState state{.video = ProjectVideoEditorState{}};
  std::vector<TimelineClip> clips;
  for (int i = 0; i < 20; ++i) {
    state.timelineEdits.zoomRegions.mutate().push_back(
        {.id = UUID::random(), .span = {.start = i * 10.0, .end = i * 10.0 + 3}});
    clips.push_back({.id = UUID::random(), .start = i * 10.0, .end = i * 10.0 + 9, .source = "added"});
  }
  state.timelineEdits.setClips(clips, 200);
  ProjectDocument document{.title = "Recording",
                           .createdAt = "2026-01-01T00:00:00Z",
                           .updatedAt = "2026-01-01T00:00:00Z",
                           .editorState = state};
  for (int i = 0; i < count; ++i) {
    document.id = UUID::random().text();
    store.createDocument(document);
  }
  return store;
}

void listProjects(benchmark::State& state) {
  const auto folder = std::filesystem::temp_directory_path() / "quillant-store-benchmark";
  const auto store = makeStore(folder, static_cast<int>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(store.projects());
  std::filesystem::remove_all(folder);
}
BENCHMARK(listProjects)->Arg(20)->Arg(200)->Arg(2000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quillant
