#include "Editor/Captions/CaptionJSON.h"

#include "Core/JSON.h"
#include "Editor/Captions/CaptionCue.h"
#include "Editor/Captions/CaptionLayout.h"

namespace quillant::CaptionJSON {

namespace {

double rounded(double seconds) {
  return static_cast<double>(CaptionCue::milliseconds(seconds)) / 1000;
}

Json caption(const CaptionBlock& block, const TimelineTranscript& transcript) {
  Json words = Json::array();
  for (const auto& word : block.words)
    words.push_back(TimelineCaptionWord{rounded(word.start), rounded(word.end), word.text});
  Json lines = Json::array();
  for (const auto& line : block.lines) {
    std::string text;
    for (auto index = line.first; index <= line.last; ++index)
      text += (index > line.first ? " " : "") + block.words[index].text;
    lines.push_back(std::move(text));
  }
  return {{"start", rounded(block.start)},   {"end", rounded(block.end)},
          {"source", transcript.source},     {"track", rawText(transcript.track)},
          {"language", transcript.language}, {"lines", std::move(lines)},
          {"words", std::move(words)}};
}

}  // namespace

std::string make(std::span<const CaptionBlock> blocks, const TimelineCaptions& captions) {
  Json all = Json::array();
  for (const auto& block : blocks) all.push_back(caption(block, captions.transcripts[block.transcriptIndex]));
  return JSON::pretty({{"style", rawText(captions.style)},
                       {"language", CaptionLayout::language(blocks, captions)},
                       {"captions", std::move(all)}}) +
         "\n";
}

}  // namespace quillant::CaptionJSON
