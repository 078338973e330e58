#pragma once

#include "CaptureEngine/CaptureServices.h"
#include "quillant/Commands/SelfCheck.h"

namespace quillant {

/// "verify-area": is it the drawn area that is recorded, and not the one at the same height from the other
/// edge? Says so by what the two show, which must differ.
class VerifyAreaCLI : public SelfCheck {
 public:
  explicit VerifyAreaCLI(CaptureServices services)
      : SelfCheck("verify-area", " [--display <displayID>]"), services_(std::move(services)) {}

 protected:
  bool passes(const std::vector<std::string>& words) override;

 private:
  const CaptureServices services_;
};

}  // namespace quillant
