#include "Editor/Timeline/TimelineCaptions.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "Core/JSONFields.h"
#include "Core/Text.h"

namespace quillant {

namespace {

double roundedToMillisecond(double seconds) {
  const double milliseconds = seconds * 1000;
  return std::isfinite(milliseconds) ? std::round(milliseconds) / 1000 : seconds;
}

}  // namespace

std::optional<std::size_t> TimelineCaptions::transcriptIndex(std::string_view source,
                                                             TimelineTranscriptTrack track) const {
  for (std::size_t i = 0; i < transcripts.size(); ++i)
    if (transcripts[i].source == source && transcripts[i].track == track) return i;
  return std::nullopt;
}

void TimelineCaptions::setTranscript(TimelineTranscript transcript) {
  if (const auto index = transcriptIndex(transcript.source, transcript.track))
    transcripts[*index] = std::move(transcript);
  else
    transcripts.push_back(std::move(transcript));
}

std::optional<TimelineCaptions> TimelineCaptions::replacing(std::size_t transcript, std::size_t first,
                                                            std::size_t last, std::string_view text) const {
  if (transcript >= transcripts.size() || first > last || last >= transcripts[transcript].words.size())
    return std::nullopt;
  const auto& old = transcripts[transcript].words;
  const auto texts = Text::words(text);
  std::vector<double> lengths;
  for (const auto word : texts) lengths.push_back(static_cast<double>(Text::characters(word).size()));
  const double total = std::max(1.0, std::accumulate(lengths.begin(), lengths.end(), 0.0));

  const double start = old[first].start;
  const double span = old[last].end - start;
  std::vector<TimelineCaptionWord> words;
  double before = 0;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const double from = roundedToMillisecond(start + span * before / total);
    before += lengths[i];
    const double to = roundedToMillisecond(start + span * before / total);
    words.push_back({from, std::max(from, to), std::string(texts[i])});
  }

  auto result = *this;
  result.transcripts[transcript].words.replace(first, last - first + 1, std::move(words));
  return result;
}

void to_json(Json& json, const TimelineCaptionWord& word) {
  json = Json::array_t{word.start, word.end, word.text};
}

void from_json(const Json& json, TimelineCaptionWord& word) {
  if (!json.is_array() || json.size() < 3) JSON::throwWrongType(json, "an array of start, end and text");
  const auto start = JSON::decode<double>(json[0]);
  const auto end = JSON::decode<double>(json[1]);
  word.start = roundedToMillisecond(start);
  word.end = roundedToMillisecond(std::max(start, end));
  word.text = JSON::decode<std::string>(json[2]);
}

namespace {

constexpr auto fields = [](auto& transcript, const auto& field) {
  field("source", transcript.source);
  field("track", transcript.track);
  field("language", transcript.language);
  field("words", transcript.words);
};

}  // namespace

void to_json(Json& json, const TimelineTranscript& transcript) {
  JSON::writeFields(json, transcript, fields);
}

void from_json(const Json& json, TimelineTranscript& transcript) {
  JSON::readFields(json, transcript, fields);
}

void to_json(Json& json, const TimelineCaptions& captions) {
  json["on"] = captions.on;
  json["style"] = rawText(captions.style);
  json["transcripts"] = captions.transcripts;
}

void from_json(const Json& json, TimelineCaptions& captions) {
  captions.on = JSON::orDefault(json, "on", false);
  captions.style = TimelineCaptionStyle::box;
  if (const auto found = json.find("style"); found != json.end() && found->is_string())
    captions.style = fromRawText<TimelineCaptionStyle>(found->get_ref<const std::string&>())
                         .value_or(TimelineCaptionStyle::box);
  captions.transcripts = JSON::orDefault(json, "transcripts", std::vector<TimelineTranscript>());
}

}  // namespace quillant
