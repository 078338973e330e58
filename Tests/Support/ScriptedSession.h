#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "CaptureEngine/RecordingCoordinator.h"
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
  /// Outlives the sessions and the coordinator made from it.
  struct Script {
    std::exception_ptr makeError;               ///< Set: no session comes about.
    std::function<Task<void>()> whileStarting;  ///< May throw.
    std::function<Task<void>()> untilLimit;     ///< Ends when the duration has passed; none: at once.
    std::function<void()> whileStopping;
    Finalized finalized;
    std::atomic<std::int64_t> milliseconds = 5000;  ///< Of the host clock.
    std::optional<std::int64_t> freeBytes;          ///< On the disk.
    std::exception_ptr diskError;                   ///< Set: why its free bytes cannot be read.
    // What came of it.
    RecordingCoordinator::Request request;
    FailureCallback onFailure;
    std::atomic<int> stops = 0;

    std::shared_ptr<RecordingCoordinator> makeCoordinator() {
      return RecordingCoordinator::make(RecordingCoordinator::Environment{
          .makeCapturer = [this](RecordingCoordinator::Request asked,
                                 FailureCallback given) -> Task<std::shared_ptr<SessionCapturing>> {
            if (makeError) std::rethrow_exception(makeError);
            request = asked;
            onFailure = std::move(given);
            co_return std::make_shared<ScriptedSession>(*this);
          },
          .now =
              [this] {
                return MediaTime{milliseconds, 1000};
              },
          .sleep = [this](double) -> Task<bool> {
            if (untilLimit) co_await untilLimit();
            co_return true;
          },
          .availableBytes =
              [this](const std::filesystem::path&) {
                if (diskError) std::rethrow_exception(diskError);
                return freeBytes;
              }});
    }
  };

  explicit ScriptedSession(Script& script) : script_(script) {}

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
