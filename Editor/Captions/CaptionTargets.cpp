#include "Editor/Captions/CaptionTargets.h"

#include <fmt/format.h>
#include <set>

#include "Core/Error.h"
#include "Editor/Composition/RecordingAudioTracks.h"
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

  /// Of each voice the first track.
  void add(const std::string& source, TimelineSource::Kind kind, const fs::path& file,
           const std::string& name) {
    std::set<Track> seen;
    int index = 0;
    for (const auto voice : RecordingAudioTracks::voices(kind, audioTracks(file))) {
      if (seen.insert(voice).second)
        targets.push_back({.source = source,
                           .track = voice,
                           .url = file,
                           .trackIndex = index,
                           .name = displayName(name, voice),
                           .cache = cache(recording_, source, voice)});
      ++index;
    }
  }

  std::vector<CaptionTarget> targets;

 private:
  const fs::path& recording_;
};

}  // namespace

std::vector<CaptionTarget> find(const fs::path& recording, const TimelineEditSnapshot& edits) {
  using Kind = TimelineSource::Kind;
  Finder finder(recording);
  finder.add(std::string(primarySourceKey), Kind::recording, recording, recording.stem().string());
  for (const auto& source : edits.sources)
    finder.add(source.id, source.kind, ProjectSourceFiles::file(recording, source), source.displayName);
  for (const auto& source : edits.audioSources)
    finder.add(source.id, Kind::file, ProjectSourceFiles::file(recording, source), source.displayName);
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
