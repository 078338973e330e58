#pragma once

#include <string>
#include <utility>

#include "quillant/Commands/Command.h"

namespace quillant {

/// Holds the place of a command that this build does not have: claims its word, and says so.
class UnavailableCommand : public Command {
 public:
  explicit UnavailableCommand(std::string word) : word_(std::move(word)) {}
  bool shouldRun(const Arguments& arguments) const override { return claims(arguments, {word_}); }
  int run(const Arguments& arguments) override;

 private:
  std::string word_;
};

}  // namespace quillant
