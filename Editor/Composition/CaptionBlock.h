#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace quillant {

/// A word on the output's clock: seconds in the finished video.
struct CaptionWordPlacement {
  std::string text;
  double start = 0;
  double end = 0;

  friend bool operator==(const CaptionWordPlacement&, const CaptionWordPlacement&) = default;
};

/// A range of indexes, its last one inside. Never empty.
struct CaptionIndexRange {
  std::size_t first = 0;
  std::size_t last = 0;

  friend bool operator==(const CaptionIndexRange&, const CaptionIndexRange&) = default;
};

/// What a viewer reads at one time: one or two lines. Burned-in captions, subtitle files and the correction
/// of words all work from this one form. Times are output seconds.
struct CaptionBlock {
  std::string id;  ///< Transcript, first word and its start in milliseconds: stable while the block stands.
  double start = 0;
  double end = 0;                           ///< At least 0.05 after the start.
  std::vector<CaptionWordPlacement> words;  ///< In order; never empty.
  std::vector<CaptionIndexRange> lines;     ///< Of `words`; one or two.
  std::size_t transcriptIndex = 0;          ///< Into `TimelineCaptions::transcripts`.
  CaptionIndexRange wordRange;              ///< Of that transcript's words.

  /// The words, joined by one blank.
  std::string text() const;

  friend bool operator==(const CaptionBlock&, const CaptionBlock&) = default;
};

}  // namespace quillant
