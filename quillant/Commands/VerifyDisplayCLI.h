#pragma once

#include "CaptureEngine/CaptureServices.h"
#include "quillant/Commands/SelfCheck.h"

namespace quillant {

/// "verify-display": of several displays, is the one that is chosen the one that is recorded? Says so by what
/// the displays show, which must differ.
class VerifyDisplayCLI : public SelfCheck {
 public:
  explicit VerifyDisplayCLI(CaptureServices services)
      : SelfCheck("verify-display", " [--display <displayID>]"), services_(std::move(services)) {}

 protected:
  bool passes(const std::vector<std::string>& words) override;

 private:
  const CaptureServices services_;
};

}  // namespace quillant
