#pragma once

#include <string>
#include <vector>

#include "CaptureEngine/CaptureInterruptedModel.h"
#include "CaptureEngine/FailureCause.h"
#include "quillant/Models/Alert.h"
#include "quillant/Models/StartRefusal.h"

namespace quillant {

/// Something that is told in passing.
struct Toast {
  std::string title;
  std::string text;
  friend bool operator==(const Toast&, const Toast&) = default;
};

/// What the recorder says.
namespace RecorderTexts {

/// Its first button does what the refusal offers, if it offers anything.
Alert refusal(const StartRefusal& refusal);
Alert couldNotStart(const std::string& reason);
/// Its first button discards.
Alert discard();

/// What a project of an interrupted recording says about itself.
std::string interruptedCause(FailureCause cause);
Toast interrupted(const CaptureInterruptedModel& interruption);
/// Of a recording that is whole.
Toast warnings(const std::vector<std::string>& warnings);

}  // namespace RecorderTexts
}  // namespace quillant
