#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "Editor/Composition/TimelineExportEditPlan.h"
#include "Editor/Timeline/TimelineCaptions.h"
#include "Editor/Timeline/TimelineEditSnapshot.h"
#include "Editor/Timeline/TimelineSpan.h"

namespace quillant {

/// Where the words of a transcript are heard in the finished video. Pure; any thread.
namespace SpokenWords {

/// One play of a stretch of the sound in which a transcript was heard.
struct Stretch {
  TimelineSpan source;                 ///< Seconds of the sound file.
  double outputStart = 0;              ///< Output seconds.
  double rate = 1;                     ///< Source seconds in one second of output.
  bool muted = false;                  ///< Plays in silence.
  std::optional<std::size_t> segment;  ///< Of the plan; none on an audio row.
  std::optional<double> clipStart;     ///< Output seconds; none in the video.

  double outputTime(double sourceTime) const { return outputStart + (sourceTime - source.start) / rate; }
  double outputEnd() const { return outputTime(source.end); }
};

/// One play of one word, clipped to the stretch that plays it. Output seconds.
struct Word {
  std::size_t index = 0;  ///< In the transcript.
  double start = 0;
  double end = 0;
  std::size_t stretch = 0;  ///< Of the stretches asked with.
};

/// Every play of the transcript's sound: through the plan's segments for a video, through the clips of the
/// audio rows, as far as neither row nor clip is muted and the video is not over, for other sounds. A plan
/// that was built of clips with their own sound (`TimelineEditSnapshot::withClipSounds`) tells what is muted.
std::vector<Stretch> stretches(const TimelineTranscript& transcript, const TimelineEditSnapshot& edits,
                               const TimelineExportEditPlan& plan);

/// Each word at every play of its middle, by start and then by index. A word whose middle was cut away is not
/// heard, whatever of it remains.
std::vector<Word> played(const TimelineTranscript& transcript, const std::vector<Stretch>& stretches);

/// Decimal times that ought to be equal differ by less than this, in seconds.
inline constexpr double tieTolerance = 1e-9;
/// A pause as long as this separates two runs of speech, in output seconds.
inline constexpr double separatingGap = 0.7;

/// Whether the word closes a sentence.
bool endsSentence(const TimelineCaptionWord& word);
/// Whether what begins at `start` is apart from what ended at `end`.
bool isSeparate(double end, double start);

}  // namespace SpokenWords
}  // namespace quillant
