#include "Editor/Captions/CaptionLayout.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fmt/format.h>
#include <iterator>
#include <map>

#include "Core/Text.h"
#include "Editor/Captions/SpokenWords.h"

namespace quillant::CaptionLayout {

namespace {

constexpr std::size_t lineLength = 42;               ///< Characters, blanks between words included.
constexpr std::size_t blockLength = 2 * lineLength;  ///< A full block is two full lines.
constexpr double blockDuration = 5;                  ///< Seconds.
constexpr double minimumDuration = 0.05;             ///< Seconds.

std::size_t length(std::string_view word) {
  const bool isASCII =
      std::ranges::all_of(word, [](char byte) { return static_cast<signed char>(byte) > 0; });
  return isASCII ? word.size() : Text::characters(word).size();
}

/// The words of a transcript that follow each other into one block.
class Run {
 public:
  Run(std::size_t transcriptIndex, const TimelineTranscript& transcript)
      : transcriptIndex_(transcriptIndex), transcript_(transcript) {}

  bool takes(const SpokenWords::Word& word, std::size_t wordLength) const {
    if (words_.empty()) return true;
    const auto& last = words_.back();
    return word.index == last.index + 1 && !SpokenWords::isSeparate(last.end, word.start) &&
           !SpokenWords::endsSentence(transcript_.words[last.index]) &&
           length_ + 1 + wordLength <= blockLength &&
           word.end - words_.front().start <= blockDuration + SpokenWords::tieTolerance;
  }

  void add(const SpokenWords::Word& word, std::size_t wordLength) {
    length_ += (words_.empty() ? 0 : 1) + wordLength;
    words_.push_back(word);
  }

  void closeInto(std::vector<CaptionBlock>& blocks) {
    if (words_.empty()) return;
    const auto& first = words_.front();
    CaptionBlock block{
        .id = fmt::format("{}-{}-{}", transcriptIndex_, first.index, std::llround(first.start * 1000)),
        .start = first.start,
        .end = std::max(words_.back().end, first.start + minimumDuration),
        .words = {},
        .lines = {},
        .transcriptIndex = transcriptIndex_,
        .wordRange = {first.index, words_.back().index}};
    std::vector<std::string_view> texts;
    for (const auto& word : words_) {
      const auto& text = transcript_.words[word.index].text;
      texts.push_back(text);
      block.words.push_back({text, word.start, word.end});
    }
    block.lines = lines(texts);
    blocks.push_back(std::move(block));
    words_.clear();
    length_ = 0;
  }

 private:
  std::size_t transcriptIndex_;
  const TimelineTranscript& transcript_;
  std::vector<SpokenWords::Word> words_;
  std::size_t length_ = 0;  ///< Characters of the words and of one blank between each.
};

}  // namespace

std::vector<CaptionIndexRange> lines(std::span<const std::string_view> words) {
  if (words.empty()) return {};
  std::size_t total = words.size() - 1;
  for (const auto word : words) total += length(word);
  if (words.size() == 1 || total <= lineLength) return {{0, words.size() - 1}};

  std::size_t breakAfter = 0;
  auto smallest = static_cast<std::ptrdiff_t>(total);
  std::ptrdiff_t left = -1;
  for (std::size_t i = 0; i + 1 < words.size(); ++i) {
    left += 1 + static_cast<std::ptrdiff_t>(length(words[i]));
    const auto right = static_cast<std::ptrdiff_t>(total) - left - 1;
    if (std::abs(left - right) >= smallest) continue;
    smallest = std::abs(left - right);
    breakAfter = i;
  }
  return {{0, breakAfter}, {breakAfter + 1, words.size() - 1}};
}

std::vector<CaptionBlock> blocks(const TimelineEditSnapshot& edits, const TimelineExportEditPlan& plan) {
  std::vector<CaptionBlock> blocks;
  if (!edits.captions) return blocks;
  const auto& transcripts = edits.captions->transcripts;
  for (std::size_t i = 0; i < transcripts.size(); ++i) {
    Run run(i, transcripts[i]);
    for (const auto& word :
         SpokenWords::played(transcripts[i], SpokenWords::stretches(transcripts[i], edits, plan))) {
      const auto wordLength = length(transcripts[i].words[word.index].text);
      if (!run.takes(word, wordLength)) run.closeInto(blocks);
      run.add(word, wordLength);
    }
    run.closeInto(blocks);
  }
  std::ranges::stable_sort(blocks, {}, &CaptionBlock::start);
  return blocks;
}

std::string language(std::span<const CaptionBlock> blocks, const TimelineCaptions& captions) {
  std::map<std::string_view, std::size_t> words;
  for (const auto& block : blocks)
    words[captions.transcripts[block.transcriptIndex].language] += block.words.size();
  std::string most = "en-US";
  std::size_t mostWords = 0;
  for (const auto& transcript : captions.transcripts) {
    const auto count = words[transcript.language];
    if (count > mostWords) most = transcript.language;
    mostWords = std::max(mostWords, count);
  }
  return most;
}

}  // namespace quillant::CaptionLayout
