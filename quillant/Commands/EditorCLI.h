#pragma once

#include <functional>
#include <utility>

#include "Editor/Captions/Transcriber.h"
#include "quillant/Commands/Command.h"

namespace quillant {

/// "export", "frame" and "captions": what is made of an edit.
class EditorCLI : public Command {
 public:
  explicit EditorCLI(std::function<Transcriber()> makeTranscriber)
      : makeTranscriber_(std::move(makeTranscriber)) {}

  bool shouldRun(const Arguments& arguments) const override {
    return claims(arguments, {"export", "frame", "captions"});
  }
  int run(const Arguments& arguments) override;

 private:
  const std::function<Transcriber()> makeTranscriber_;
};

}  // namespace quillant
