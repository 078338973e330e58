#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "MediaKit/Reading/MovieBoxes.h"
#include "MediaKit/Reading/MovieFragments.h"
#include "MediaKit/Writing/SampleTables.h"

namespace quillant {

/// The index that makes a fragmented file an ordinary one: the movie box that the file began with, its tables
/// of samples filled in. It grows with the file, so that nothing has to be read back when the file is closed.
///
/// Belongs to one thread. Throws `MediaError` of kind unreadable.
class ClosingIndex {
 public:
  /// `movie` is the movie box of the file while it is fragmented.
  explicit ClosingIndex(std::vector<std::uint8_t> movie);

  /// Takes in the fragments among `boxes`, which stand at `offset` of the file. After a failure the index is
  /// of no use any more.
  void add(MovieBoxes::Bytes boxes, std::uint64_t offset);
  /// The movie box of the ordinary file. Once, after the last fragment.
  std::vector<std::uint8_t> finish();

 private:
  std::vector<std::uint8_t> movie_;
  MovieFragments::MovieHead head_;
  std::map<std::uint32_t, SampleTables> tables_;  ///< By the id of the track.
};

}  // namespace quillant
