#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Core/ChunkedVector.h"
#include "Core/JSONForward.h"
#include "Core/RawTexts.h"

namespace quillant {

enum class TimelineCaptionStyle { box, outline, plain };

template <>
inline constexpr auto rawTexts<TimelineCaptionStyle> =
    std::to_array<RawText<TimelineCaptionStyle>>({{TimelineCaptionStyle::box, "box"},
                                                  {TimelineCaptionStyle::outline, "outline"},
                                                  {TimelineCaptionStyle::plain, "plain"}});

/// Which sound of a source a transcript was heard in.
enum class TimelineTranscriptTrack { mic, system, audio };

template <>
inline constexpr auto rawTexts<TimelineTranscriptTrack> =
    std::to_array<RawText<TimelineTranscriptTrack>>({{TimelineTranscriptTrack::mic, "mic"},
                                                     {TimelineTranscriptTrack::system, "system"},
                                                     {TimelineTranscriptTrack::audio, "audio"}});

/// One word with its time in seconds of the sound it was heard in. In JSON it is `[start, end, text]`.
struct TimelineCaptionWord {
  double start = 0;
  double end = 0;
  std::string text;

  friend bool operator==(const TimelineCaptionWord&, const TimelineCaptionWord&) = default;
};

struct TimelineTranscript {
  std::string source;
  TimelineTranscriptTrack track = TimelineTranscriptTrack::mic;
  std::string language;
  ChunkedVector<TimelineCaptionWord> words;  ///< An hour of speech has thousands.

  friend bool operator==(const TimelineTranscript&, const TimelineTranscript&) = default;
};

struct TimelineCaptions {
  bool on = false;
  TimelineCaptionStyle style = TimelineCaptionStyle::box;
  std::vector<TimelineTranscript> transcripts;

  std::optional<std::size_t> transcriptIndex(std::string_view source, TimelineTranscriptTrack track) const;
  /// Puts the transcript in the place of the one of the same source and track, or at the end.
  void setTranscript(TimelineTranscript transcript);
  /// The captions with the words `first` to `last` of a transcript replaced by those of a text, which share
  /// their time by length. None if there are no such words.
  std::optional<TimelineCaptions> replacing(std::size_t transcript, std::size_t first, std::size_t last,
                                            std::string_view text) const;

  friend bool operator==(const TimelineCaptions&, const TimelineCaptions&) = default;
};

void to_json(Json& json, const TimelineCaptionWord& word);
/// Times are rounded to the millisecond; an end before the start becomes the start.
void from_json(const Json& json, TimelineCaptionWord& word);
void to_json(Json& json, const TimelineTranscript& transcript);
void from_json(const Json& json, TimelineTranscript& transcript);
void to_json(Json& json, const TimelineCaptions& captions);
/// A style that is missing, unknown or no text reads as `box`.
void from_json(const Json& json, TimelineCaptions& captions);

}  // namespace quillant
