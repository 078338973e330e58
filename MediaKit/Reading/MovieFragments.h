#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "MediaKit/Reading/MovieBoxes.h"

/// The fragments of a movie file: what lies in them, and how many of them are whole.
namespace quillant::MovieFragments {

struct Sample {
  std::uint32_t duration = 0;
  std::uint32_t size = 0;
  bool isKeyFrame = false;
};

/// Samples that stand one after another in the file, and in time.
struct SampleRun {
  std::uint32_t track = 0;   ///< The track's id.
  std::uint64_t time = 0;    ///< Of the first sample, in ticks of the track.
  std::uint64_t offset = 0;  ///< Of the first byte, in the file.
  std::uint64_t duration = 0;
  std::uint64_t byteCount = 0;
  std::uint32_t count = 0;
  std::vector<Sample> samples;  ///< Empty if all are like `uniform`, the first perhaps a key frame or none.
  Sample uniform;
  bool firstIsKeyFrame = false;  ///< Of a uniform run.
};

/// What a movie box says of a track that goes on in fragments.
struct TrackHead {
  std::uint32_t id = 0;
  std::uint32_t timescale = 0;
  Sample defaults;
};

struct MovieHead {
  bool isFragmented = false;
  std::vector<TrackHead> tracks;
};
TrackHead trackHead(MovieBoxes::Bytes trackPayload);
MovieHead movieHead(MovieBoxes::Bytes moviePayload);

/// A file whose media lies in fragments, perhaps cut off.
struct FragmentedMovie {
  MovieBoxes::FileBox movie;
  MovieHead head;
};
/// None for a file of another kind. Throws for a movie file that breaks off before its movie box ends.
std::optional<FragmentedMovie> find(const MovieBoxes::File& file);

/// Calls `visit` for every run of every whole fragment, in the order of the file, and returns where the last
/// of them ends; the end of the movie box if there is none. Stops at the first fragment that is not whole;
/// throws `FileError` if the file cannot be read, which tells nothing about what is in it.
std::uint64_t visit(const MovieBoxes::File& file, const FragmentedMovie& movie,
                    const std::function<void(const SampleRun&)>& visitor);
/// The same for whole boxes in memory that stand at `offset` of the file. Throws for a fragment that is torn.
void visit(MovieBoxes::Bytes boxes, std::uint64_t offset, const MovieHead& head,
           const std::function<void(const SampleRun&)>& visitor);

}  // namespace quillant::MovieFragments
