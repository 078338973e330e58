#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CaptureEngine/CaptureTarget.h"
#include "CaptureEngine/ScreenService.h"
#include "Core/Error.h"
#include "quillant/Commands/Command.h"

namespace quillant {

/// A command by which the program tries itself on this machine: it records for a moment, looks at what came
/// of it, and says PASS or FAIL.
class SelfCheck : public Command {
 public:
  /// The check could not be made, which says nothing about what it checks.
  class Failure : public Error {
   public:
    Failure(int exitCode, const std::string& description) : Error(description), exitCode_(exitCode) {}
    int exitCode() const { return exitCode_; }

   private:
    int exitCode_;
  };

  bool shouldRun(const Arguments& arguments) const override { return claims(arguments, {word_}); }
  int run(const Arguments& arguments) override;

 protected:
  /// `options` is what may follow the word, for the usage text.
  SelfCheck(std::string word, std::string options) : word_(std::move(word)), options_(std::move(options)) {}

  /// Whether all is well. `words` are those after the command's. Throws an `Error`.
  virtual bool passes(const std::vector<std::string>& words) = 0;

  /// Prints a line of what was found.
  void tell(std::string_view finding) const;
  /// What `--display <displayID>` says, which is all that `words` may say. Throws
  /// `RecordOptions::ParseError`.
  static std::optional<std::uint32_t> displayChoice(const std::vector<std::string>& words);
  /// All of the display of `choice`; without one any but the main display, if there is any. Throws
  /// `CaptureError`.
  static CaptureTarget wholeDisplay(std::optional<std::uint32_t> choice, const ShareableContent& content);

 private:
  const std::string word_;
  const std::string options_;
};

}  // namespace quillant
