#include "Core/Log.h"

#include <cstdio>
#include <mutex>
#include <string>

namespace quillant::Log {

namespace {

struct State {
  std::mutex mutex;
  Sink sink;
};

State& state() {
  static auto& instance = *new State;
  return instance;
}

}  // namespace

void write(std::string_view text) {
  const auto line = fmt::format("[Quillant] {}\n", text);
  const std::lock_guard lock(state().mutex);
  if (state().sink)
    state().sink(std::string_view(line).substr(0, line.size() - 1));
  else
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void setSink(Sink sink) {
  const std::lock_guard lock(state().mutex);
  state().sink = std::move(sink);
}

}  // namespace quillant::Log
