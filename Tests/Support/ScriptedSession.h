#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

#include "CaptureEngine/SessionCapturing.h"
#include "Core/Error.h"

namespace quillant {

class ScriptedError : public Error {
 public:
  explicit ScriptedError(std::string description) : Error(std::move(description)) {}
};

inline std::exception_ptr scriptedError(std::string description) {
  return std::make_exception_ptr(ScriptedError(std::move(description)));
}

/// A session that captures nothing, and ends as its script says.
class ScriptedSession : public SessionCapturing {
 public:
  /// Outlives the session.
  struct Script {
    std::function<Task<void>()> whileStarting;  ///< May throw.
    std::function<void()> whileStopping;
    Finalized finalized;
    std::atomic<int> stops = 0;
    FailureCallback onFailure;  ///< Set once the session has been made.
    PauseClock* pauseClock = nullptr;
  };

  ScriptedSession(Script& script, FailureCallback onFailure) : script_(script) {
    script_.onFailure = std::move(onFailure);
    script_.pauseClock = &pauseClock_;
  }

  Task<void> start() override {
    if (script_.whileStarting) co_await script_.whileStarting();
  }
  Task<Finalized> stopAndFinalize() override {
    ++script_.stops;
    if (script_.whileStopping) script_.whileStopping();
    co_return script_.finalized;
  }
  PauseClock& pauseClock() override { return pauseClock_; }
  const std::filesystem::path& outputURL() const override { return script_.finalized.artifacts.screenVideo; }

 private:
  Script& script_;
  PauseClock pauseClock_;
};

}  // namespace quillant
