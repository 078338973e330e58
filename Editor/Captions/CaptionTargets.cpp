#include "Editor/Captions/CaptionTargets.h"

#include <fmt/format.h>
#include <set>

#include "Core/Error.h"
#include "Editor/Project/ProjectSourceFiles.h"
#include "MediaKit/Reading/AssetProbe.h"

namespace quillant::CaptionTargets {

namespace {

namespace fs = std::filesystem;
using Track = TimelineTranscriptTrack;

std::vector<MediaTrack> audioTracks(const fs::path& file) {
  try {
    return AssetProbe::probe(file).tracksOfKind(MediaTrack::Kind::audio);
  } catch (const Error&) {
    return {};
  }
}

/// The name begins as those of the files that were added to the recording do, and goes when they go.
fs::path cache(const fs::path& recording, const std::string& source, Track track) {
  auto path = recording.parent_path() / recording.stem();
  path += fmt::format(".source-{}.transcript-{}.json", source, track == Track::mic ? "mic" : "audio");
  return path;
}

class Finder {
 public:
  explicit Finder(const fs::path& recording) : recording_(recording) {}

  void addRecording(const std::string& source, const fs::path& file, const std::string& name) {
    std::set<Track> seen;
    int index = 0;
    for (const auto& track : audioTracks(file)) {
      auto kind = track.channels == 1 ? Track::mic : Track::system;
      if (seen.contains(kind)) kind = Track::audio;
      if (seen.insert(kind).second) add(source, kind, file, index, name);
      ++index;
    }
  }

  void addFile(const std::string& source, const fs::path& file, const std::string& name) {
    if (!audioTracks(file).empty()) add(source, Track::audio, file, 0, name);
  }

  std::vector<CaptionTarget> targets;

 private:
  void add(const std::string& source, Track track, const fs::path& file, int index, const std::string& name) {
    targets.push_back({.source = source,
                       .track = track,
                       .url = file,
                       .trackIndex = index,
                       .name = displayName(name, track),
                       .cache = cache(recording_, source, track)});
  }

  const fs::path& recording_;
};

}  // namespace

std::vector<CaptionTarget> find(const fs::path& recording, const TimelineEditSnapshot& edits) {
  Finder finder(recording);
  finder.addRecording(std::string(primarySourceKey), recording, recording.stem().string());
  for (const auto& source : edits.sources) {
    const auto file = ProjectSourceFiles::file(recording, source);
    if (source.kind == TimelineSource::Kind::recording)
      finder.addRecording(source.id, file, source.displayName);
    else
      finder.addFile(source.id, file, source.displayName);
  }
  for (const auto& source : edits.audioSources)
    finder.addFile(source.id, ProjectSourceFiles::file(recording, source), source.displayName);
  return std::move(finder.targets);
}

std::vector<CaptionTarget> missing(std::vector<CaptionTarget> targets,
                                   const std::optional<TimelineCaptions>& captions) {
  if (captions)
    std::erase_if(targets, [&](const CaptionTarget& target) {
      return captions->transcriptIndex(target.source, target.track).has_value();
    });
  return targets;
}

std::string displayName(const std::string& sourceName, Track track) {
  if (track == Track::mic) return sourceName + " (microphone)";
  if (track == Track::system) return sourceName + " (system audio)";
  return sourceName;
}

}  // namespace quillant::CaptionTargets
