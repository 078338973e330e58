#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CaptureEngine/DiskPressure.h"
#include "CaptureEngine/RecordingCoordinator.h"
#include "quillant/Commands/Command.h"

namespace quillant {

/// Records without a user interface, and lists what killed recordings left.
class HeadlessCLI : public Command {
 public:
  using MakeCoordinator = std::function<std::shared_ptr<RecordingCoordinator>()>;
  /// Free bytes of the volume that holds a path. Blocking; any thread.
  using AvailableBytes = std::function<std::optional<std::int64_t>(const std::filesystem::path&)>;

  static const char* const usage;

  explicit HeadlessCLI(MakeCoordinator makeCoordinator,
                       AvailableBytes availableBytes = DiskPressure::availableBytes)
      : makeCoordinator_(std::move(makeCoordinator)), availableBytes_(std::move(availableBytes)) {}

  bool shouldRun(const Arguments& arguments) const override;
  int run(const Arguments& arguments) override;

 private:
  int runRecord(const std::vector<std::string>& words);
  int runRecover(const std::vector<std::string>& words);

  MakeCoordinator makeCoordinator_;
  AvailableBytes availableBytes_;
};

}  // namespace quillant
