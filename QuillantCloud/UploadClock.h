#pragma once

#include <chrono>
#include <functional>

#include "Core/Date.h"
#include "Core/Task.h"

namespace quillant {

/// The clock that uploads use. A test's own makes retries instant and leases expire.
struct UploadClock {
  std::function<Date()> now = Date::now;
  std::function<Task<>(std::chrono::seconds)> sleep = [](std::chrono::seconds duration) -> Task<> {
    co_await sleepFor(duration);
  };
};

}  // namespace quillant
