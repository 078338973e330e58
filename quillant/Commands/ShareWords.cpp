#include "quillant/Commands/ShareWords.h"

#include <fmt/format.h>
#include <utility>

#include "quillant/Commands/LookOptions.h"
#include "quillant/Commands/UsageError.h"

namespace quillant {

namespace {

constexpr std::pair<std::string_view, EditorExportQuality> qualities[] = {
    {"source", EditorExportQuality::source},
    {"p1080", EditorExportQuality::p1080},
    {"p720", EditorExportQuality::p720}};

EditorExportQuality qualityNamed(const std::string& word) {
  for (const auto& [name, value] : qualities)
    if (word == name) return value;
  throw UsageError{"--resolution takes source, p1080 or p720, not " + word};
}

ShareWords::Captions captionsNamed(const std::string& word) {
  if (word == LookOptions::none) return {};
  if (const auto style = fromRawText<TimelineCaptionStyle>(word)) return {style};
  std::string valid = LookOptions::none;
  for (const auto& [style, name] : rawTexts<TimelineCaptionStyle>) valid += ", " + std::string(name);
  throw UsageError{fmt::format("--captions takes one of {}, not {}", valid, word)};
}

}  // namespace

ShareWords ShareWords::parse(const std::vector<std::string>& words) {
  ShareWords result;
  for (auto word = words.begin(); word != words.end(); ++word) {
    const auto value = [&, flag = *word]() -> const std::string& {
      if (++word == words.end()) throw UsageError{flag + " requires a value"};
      return *word;
    };
    if (*word == "--status")
      result.isStatus = true;
    else if (*word == "--title")
      result.title = value();
    else if (*word == "--resolution")
      result.quality = qualityNamed(value());
    else if (*word == "--captions")
      result.captions = captionsNamed(value());
    else if (word->starts_with("-") || !result.subject.empty())
      throw UsageError{"unknown share option " + *word};
    else
      result.subject = *word;
  }
  if (result.isStatus && words.size() > 1) throw UsageError{"--status takes no other option"};
  if (!result.isStatus && result.subject.empty())
    throw UsageError{"share requires a <project id | bundle.quillant | video>"};
  return result;
}

}  // namespace quillant
