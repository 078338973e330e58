#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "CaptureEngine/RecordingCoordinator.h"
#include "quillant/Commands/Command.h"

namespace quillant {

/// Records without a user interface, and lists what killed recordings left.
class HeadlessCLI : public Command {
 public:
  using MakeCoordinator = std::function<std::shared_ptr<RecordingCoordinator>()>;

  static const char* const usage;

  explicit HeadlessCLI(MakeCoordinator makeCoordinator) : makeCoordinator_(std::move(makeCoordinator)) {}

  bool shouldRun(const Arguments& arguments) const override;
  int run(const Arguments& arguments) override;

 private:
  int runRecord(const std::vector<std::string>& words);
  int runRecover(const std::vector<std::string>& words);

  MakeCoordinator makeCoordinator_;
};

}  // namespace quillant
