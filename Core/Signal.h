#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace quillant {

/// Keeps a handler connected to a signal; disconnects when destroyed. It may outlive the signal.
class Connection {
 public:
  Connection() = default;
  explicit Connection(std::function<void()> disconnect) : disconnect_(std::move(disconnect)) {}
  Connection(Connection&& other) noexcept : disconnect_(std::exchange(other.disconnect_, nullptr)) {}
  Connection& operator=(Connection&& other) noexcept {
    if (this != &other) {
      disconnect();
      disconnect_ = std::exchange(other.disconnect_, nullptr);
    }
    return *this;
  }
  ~Connection() { disconnect(); }

  void disconnect() {
    if (auto action = std::exchange(disconnect_, nullptr)) action();
  }

 private:
  std::function<void()> disconnect_;
};

/// A list of handlers that are called, in order of connection, with what is emitted. Connecting, emitting and
/// disconnecting are safe on any thread; handlers run on the emitting thread, with no lock held, and may
/// connect and disconnect. A handler that is being called while another thread disconnects it may still run
/// to its end.
template <class... Arguments>
class Signal {
 public:
  using Handler = std::function<void(const Arguments&...)>;

  [[nodiscard]] Connection connect(Handler handler) {
    const std::lock_guard lock(state_->mutex);
    const auto id = state_->next++;
    state_->handlers.emplace(id, std::make_shared<Handler>(std::move(handler)));
    return Connection([weak = std::weak_ptr<State>(state_), id] {
      if (const auto state = weak.lock()) state->remove(id);
    });
  }

  void emit(const Arguments&... arguments) const {
    std::vector<std::shared_ptr<Handler>> handlers;
    {
      const std::lock_guard lock(state_->mutex);
      for (const auto& [id, handler] : state_->handlers) handlers.push_back(handler);
    }
    for (const auto& handler : handlers) (*handler)(arguments...);
  }

 private:
  struct State {
    void remove(std::uint64_t id) {
      const std::lock_guard lock(mutex);
      handlers.erase(id);
    }

    std::mutex mutex;
    std::map<std::uint64_t, std::shared_ptr<Handler>> handlers;
    std::uint64_t next = 0;
  };
  std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace quillant
