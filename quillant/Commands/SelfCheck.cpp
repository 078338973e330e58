#include "quillant/Commands/SelfCheck.h"

#include <algorithm>
#include <fmt/format.h>

#include "quillant/Commands/Console.h"
#include "quillant/Commands/RecordOptions.h"

namespace quillant {

int SelfCheck::run(const Arguments& arguments) {
  try {
    const bool passed = passes({arguments.begin() + 2, arguments.end()});
    tell(passed ? "PASS" : "FAIL");
    return passed ? ExitCode::success : ExitCode::failure;
  } catch (const RecordOptions::ParseError& error) {
    Console::writeError(
        fmt::format("quillant: {}\nusage: quillant {}{}\n", error.description(), word_, options_));
    return ExitCode::usage;
  } catch (const Failure& failure) {
    Console::tell(failure.description());
    return failure.exitCode();
  } catch (const Error& error) {
    // A service that refuses before there is a recording to make.
    Console::tell("could not start recording: " + error.description());
    return ExitCode::noPermission;
  }
}

void SelfCheck::tell(std::string_view finding) const {
  Console::print(fmt::format("quillant: {}: {}", word_, finding));
}

std::optional<std::uint32_t> SelfCheck::displayChoice(const std::vector<std::string>& words) {
  using ParseError = RecordOptions::ParseError;
  const std::string flag = "--display";
  if (words.empty()) return std::nullopt;
  if (words[0] != flag) throw ParseError(ParseError::UnknownFlag{words[0]});
  if (words.size() == 1) throw ParseError(ParseError::Missing{flag + " <value>"});
  if (words.size() > 2) throw ParseError(ParseError::UnknownFlag{words[2]});
  return RecordOptions::displayID(flag, words[1]);
}

CaptureTarget SelfCheck::wholeDisplay(std::optional<std::uint32_t> choice, const ShareableContent& content) {
  const auto other = std::ranges::find(content.displays, false, &DisplayInfo::isMain);
  if (!choice && other != content.displays.end()) choice = other->id;
  return CaptureTarget::resolve({.displayID = choice}, content);
}

}  // namespace quillant
