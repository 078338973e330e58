#pragma once

#include <compare>
#include <cstddef>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "Editor/Composition/CaptionBlock.h"
#include "Editor/Timeline/TimelineCaptions.h"
#include "Editor/Timeline/TimelineEditSnapshot.h"
#include "Editor/Timeline/TimelineSpan.h"

namespace quillant {

/// A word that is heard in the finished video.
struct TranscriptWordItem {
  std::size_t transcript = 0;  ///< Into `TimelineCaptions::transcripts`.
  std::size_t word = 0;        ///< Into that transcript's words.
  std::string text;
  double start = 0;  ///< Output seconds.
  double end = 0;    ///< Output seconds.

  friend bool operator==(const TranscriptWordItem&, const TranscriptWordItem&) = default;
};

/// A silence, in output seconds.
struct TranscriptPauseItem {
  double start = 0;
  double end = 0;

  friend bool operator==(const TranscriptPauseItem&, const TranscriptPauseItem&) = default;
};

/// Neighbouring words that the edit has cut.
struct TranscriptRemovedItem {
  std::size_t transcript = 0;
  CaptionIndexRange words;
  std::vector<std::string> texts;
  double sourceStart = 0;  ///< Seconds of the sound that they were heard in.
  double sourceEnd = 0;

  friend bool operator==(const TranscriptRemovedItem&, const TranscriptRemovedItem&) = default;
};

/// A source whose transcript is still on its way.
struct TranscriptPendingItem {
  double start = 0;    ///< Output seconds.
  std::string source;  ///< As `TimelineTranscript::source`.

  friend bool operator==(const TranscriptPendingItem&, const TranscriptPendingItem&) = default;
};

using TranscriptItem =
    std::variant<TranscriptWordItem, TranscriptPauseItem, TranscriptRemovedItem, TranscriptPendingItem>;

/// Tells an item from every other of its document, and stays while the item does.
std::string transcriptItemID(const TranscriptItem& item);

/// One run of speech of one voice.
struct TranscriptParagraph {
  std::string id;
  std::optional<std::size_t> transcript;  ///< None while it is on its way.
  std::string source;
  TimelineTranscriptTrack track = TimelineTranscriptTrack::mic;
  bool isVoiceRow = false;          ///< On an audio row, not in the video.
  std::optional<double> clipStart;  ///< Where its clip on the audio row starts, in output seconds.
  std::vector<TranscriptItem> items;

  friend bool operator==(const TranscriptParagraph&, const TranscriptParagraph&) = default;
};

/// An edit's transcripts as the text that a user reads and cuts. Computed afresh from the edit; pure; any
/// thread.
namespace TranscriptDocument {

struct WordKey {
  std::size_t transcript = 0;
  std::size_t word = 0;

  friend auto operator<=>(const WordKey&, const WordKey&) = default;
};

struct Document {
  std::vector<TranscriptParagraph> paragraphs;  ///< By the time of their first item.
  std::set<WordKey> muted;                      ///< Words that are never played but in silence.

  friend bool operator==(const Document&, const Document&) = default;
};

/// A silence of this many seconds of output or more is an item.
inline constexpr double shownPause = 1;

/// `duration` is the main recording's, in seconds; `pending` names the sources that still wait for a
/// transcript, as `TimelineTranscript::source` does.
Document document(const TimelineEditSnapshot& edits, double duration, const std::set<std::string>& pending);

struct Cut {
  double start = 0;
  double end = 0;
  double keptGap = 0;  ///< Seconds of silence that are left at the seam.

  friend bool operator==(const Cut&, const Cut&) = default;
};

/// What to take out of the output so that `selected` goes and the speech around it keeps its breath. `spoken`
/// are the other words that are heard, of every voice and in any order; what is nearer than `timeTolerance`
/// touches. Output seconds.
Cut cut(TimelineSpan selected, std::span<const TimelineSpan> spoken, double videoEnd);

/// What a restore of removed words brings back, in seconds of their sound: the words, and on a side where
/// another word of theirs plays also the silence up to what still plays. `duration` is the main recording's.
/// None where there are no such words.
std::optional<TimelineSpan> restored(const TimelineEditSnapshot& edits, double duration,
                                     const TranscriptRemovedItem& item);

}  // namespace TranscriptDocument
}  // namespace quillant
