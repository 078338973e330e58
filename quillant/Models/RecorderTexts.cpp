#include "quillant/Models/RecorderTexts.h"

#include <fmt/format.h>

#include "Core/SystemWords.h"

namespace quillant::RecorderTexts {

namespace {

const Alert::Button cancel{"Cancel", Alert::Role::cancel};

}  // namespace

Alert refusal(const StartRefusal& refusal) {
  Alert alert{.title = refusal.title, .message = refusal.message};
  switch (refusal.action) {
    case StartRefusal::Action::none:
      alert.buttons = {{"OK", Alert::Role::cancel}};
      break;
    case StartRefusal::Action::openScreenSettings:
      alert.buttons = {{fmt::format("Open {}", SystemWords::settings)}, cancel};
      break;
    case StartRefusal::Action::manageStorage:
      alert.buttons = {{"Manage Storage"}, cancel};
      break;
  }
  return alert;
}

Alert couldNotStart(const std::string& reason) {
  return {.title = "Couldn't start recording", .message = reason, .buttons = {{"OK", Alert::Role::cancel}}};
}

Alert discard() {
  return {.title = "Discard this recording?",
          .message = "This stops recording and permanently deletes the file. This can’t be undone.",
          .buttons = {{"Discard", Alert::Role::destructive}, cancel}};
}

std::string interruptedCause(FailureCause cause) {
  return cause == FailureCause::diskSpace ? fmt::format("{} reclaimed disk space", SystemWords::system)
                                          : "recording stopped unexpectedly";
}

Toast interrupted(const CaptureInterruptedModel& interruption) {
  return {
      .title = "Recording interrupted — saved everything up to " + interruption.clock(),
      .text = interruption.cause == FailureCause::diskSpace
                  ? fmt::format("{} reclaimed disk space and ended the capture. Every frame before that is "
                                "safe on disk.",
                                SystemWords::sentenceSystem)
                  : "The capture ended before you stopped it. Every frame before that is safe on disk."};
}

Toast warnings(const std::vector<std::string>& warnings) {
  return {.title = "The recording is saved, but look at it before you rely on it",
          .text = fmt::format("{}", fmt::join(warnings, "\n"))};
}

}  // namespace quillant::RecorderTexts
