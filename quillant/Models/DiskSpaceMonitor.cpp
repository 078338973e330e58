#include "quillant/Models/DiskSpaceMonitor.h"

#include <cassert>
#include <limits>
#include <utility>

#include "Core/DiskExecutor.h"

namespace quillant {

namespace {

constexpr auto roomWithoutEnd = std::numeric_limits<std::int64_t>::max();

Task<std::int64_t> ask(std::filesystem::path directory) {
  co_return DiskSpaceMonitor::availableBytes(directory);
}

}  // namespace

std::shared_ptr<DiskSpaceMonitor> DiskSpaceMonitor::make(Executor mainThread, Options options) {
  return std::shared_ptr<DiskSpaceMonitor>(new DiskSpaceMonitor(std::move(mainThread), std::move(options)));
}

DiskSpaceMonitor::DiskSpaceMonitor(Executor mainThread, Options options)
    : mainThread_(std::move(mainThread)),
      options_(std::move(options)),
      freeBytes_(options_.injectedFreeBytes.value_or(roomWithoutEnd)) {}

void DiskSpaceMonitor::start() {
  assert(sequence_.isCurrent());
  startDetached(mainThread_, repeat(weak_from_this(), ++run_));
}

void DiskSpaceMonitor::stop() {
  assert(sequence_.isCurrent());
  ++run_;
}

Task<> DiskSpaceMonitor::read() {
  const auto self = shared_from_this();
  std::int64_t bytes = options_.injectedFreeBytes.value_or(0);
  if (!options_.injectedFreeBytes) bytes = co_await runOn(diskExecutor(), ask(options_.directory));
  assert(sequence_.isCurrent());
  if (std::exchange(freeBytes_, bytes) != bytes) changed.emit();
}

void DiskSpaceMonitor::setDirectory(std::filesystem::path directory) {
  assert(sequence_.isCurrent());
  options_.directory = std::move(directory);
}

std::int64_t DiskSpaceMonitor::availableBytes(const std::filesystem::path& directory) {
  return DiskPressure::availableBytes(directory).value_or(roomWithoutEnd);
}

Task<> DiskSpaceMonitor::repeat(std::weak_ptr<DiskSpaceMonitor> weak, std::uint64_t run) {
  for (;;) {
    auto self = weak.lock();
    if (!self || self->run_ != run) co_return;
    co_await self->read();
    const auto interval = self->options_.interval;
    self.reset();  // the monitor may go meanwhile
    co_await sleepFor(interval);
  }
}

}  // namespace quillant
