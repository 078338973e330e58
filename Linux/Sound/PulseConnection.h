#pragma once

// Includes the library's headers: for the sources of this folder only.
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <pulse/pulseaudio.h>
#include <string>
#include <vector>

#include "Core/Error.h"
#include "Linux/Sound/SoundDevices.h"

namespace quillant {

/// The sound server cannot be reached, or refuses.
class PulseError : public Error {
 public:
  PulseError(const std::string& what, int code)
      : Error(what + ": " + ::pa_strerror(code)), isRefusal_(code == PA_ERR_ACCESS) {}
  /// Whether the server is there and will not have us.
  bool isRefusal() const { return isRefusal_; }

 private:
  bool isRefusal_;
};

/// One client of the sound server, with the thread on which all its callbacks run.
///
/// Make, use and destroy it on any other thread. It does not come back: once the server is gone, make
/// another.
class PulseConnection {
 public:
  /// What streams want to know. Called on the connection's thread, under its lock, by the client library.
  class Listener {
   public:
    virtual ~Listener() = default;
    virtual void devicesChanged(const SoundDevices& devices) noexcept = 0;
    virtual void serverEnded() noexcept = 0;
  };

  /// Held while anything of the connection or its streams is touched from outside its thread.
  class Lock {
   public:
    explicit Lock(const PulseConnection& connection);
    ~Lock();
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

   private:
    pa_threaded_mainloop* loop_;
  };

  /// Waits for the server. One that leaves a question unanswered for as long as `patience`, now or later,
  /// counts as gone. Throws `PulseError`.
  explicit PulseConnection(std::chrono::microseconds patience);
  ~PulseConnection();
  PulseConnection(const PulseConnection&) = delete;
  PulseConnection& operator=(const PulseConnection&) = delete;

  pa_context* context() const { return context_.get(); }
  /// Under the lock.
  bool isAlive() const;
  /// Under the lock, which is released meanwhile: until `isDone`, which is asked after each `wake`, or the
  /// server is gone.
  void waitUntil(const std::function<bool()>& isDone);
  /// Under the lock, or on the connection's thread.
  void wake() const;

  /// Asks the server and waits. Throws `PulseError` if it has gone.
  SoundDevices devices();

  /// Under the lock. A listener is removed before it is destroyed.
  void add(Listener& listener);
  void remove(Listener& listener);

 private:
  struct FreeLoop {
    void operator()(pa_threaded_mainloop* loop) const { ::pa_threaded_mainloop_free(loop); }
  };
  struct FreeContext {
    void operator()(pa_context* context) const { ::pa_context_unref(context); }
  };

  // Run in the client library's calls, through which nothing may be thrown.
  void stateChanged() noexcept;
  void refresh() noexcept;
  void receive(const pa_server_info& server) noexcept;
  void receive(const pa_source_info& source) noexcept;
  void finishRefresh() noexcept;

  [[noreturn]] void fail(const std::string& what) const;

  const std::chrono::microseconds patience_;
  std::unique_ptr<pa_threaded_mainloop, FreeLoop> loop_;
  std::unique_ptr<pa_context, FreeContext> context_;
  std::vector<Listener*> listeners_;
  SoundDevices devices_;
  std::optional<SoundDevices> arriving_;  ///< Absent, too, once there was no memory for a part of it.
  bool isRefreshing_ = false;
  bool isStale_ = false;  // something changed while the last answer was on its way
};

}  // namespace quillant
