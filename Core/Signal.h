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
/// disconnecting are safe on any thread. Handlers run on the emitting thread, with no lock held, and do not
/// throw. They may connect and disconnect any handler and destroy the signal: from then on no handler that is
/// gone is called, in the emission that is going on neither. A handler that is being called while another
/// thread disconnects it may still run to its end.
template <class... Arguments>
class Signal {
 public:
  using Handler = std::function<void(const Arguments&...)>;

  Signal() = default;
  ~Signal() { state_->removeAll(); }
  Signal(const Signal&) = delete;
  Signal& operator=(const Signal&) = delete;

  [[nodiscard]] Connection connect(Handler handler) {
    return Connection([weak = std::weak_ptr<State>(state_), id = state_->add(std::move(handler))] {
      if (const auto state = weak.lock()) state->remove(id);
    });
  }

  /// The arguments outlive the emission: where they belong to an owner of the signal that a handler may
  /// destroy, pass copies.
  void emit(const Arguments&... arguments) const {
    const auto state = state_;  // outlives this signal
    for (const auto id : state->ids())
      if (const auto handler = state->find(id)) (*handler)(arguments...);
  }

 private:
  class State {
   public:
    std::uint64_t add(Handler handler) {
      const std::lock_guard lock(mutex_);
      handlers_.emplace(next_, std::make_shared<Handler>(std::move(handler)));
      return next_++;
    }
    void remove(std::uint64_t id) {
      const auto held = find(id);  // what the handler holds is destroyed without the lock
      const std::lock_guard lock(mutex_);
      handlers_.erase(id);
    }
    void removeAll() {
      std::map<std::uint64_t, std::shared_ptr<Handler>> removed;
      const std::lock_guard lock(mutex_);
      removed.swap(handlers_);
    }
    std::shared_ptr<Handler> find(std::uint64_t id) const {
      const std::lock_guard lock(mutex_);
      const auto found = handlers_.find(id);
      return found == handlers_.end() ? nullptr : found->second;
    }
    std::vector<std::uint64_t> ids() const {
      const std::lock_guard lock(mutex_);
      std::vector<std::uint64_t> all;
      for (const auto& [id, handler] : handlers_) all.push_back(id);
      return all;
    }

   private:
    mutable std::mutex mutex_;
    std::map<std::uint64_t, std::shared_ptr<Handler>> handlers_;
    std::uint64_t next_ = 0;
  };
  const std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace quillant
