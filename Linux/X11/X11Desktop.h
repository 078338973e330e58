#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "Linux/X11/X11Connection.h"
#include "Linux/X11/X11Layout.h"

namespace quillant {

/// A desktop that is asked many times a second for as long as the program runs: the connection is made when
/// it is first needed and again when the server was lost, and the layout is at most a second old (a change of
/// the monitors is not always told by an event). Safe on any thread; one question at a time.
class X11Desktop {
 public:
  /// As for X11Connection. Neither connects nor throws.
  explicit X11Desktop(std::string displayName = {}) : displayName_(std::move(displayName)) {}

  /// What `query(X11Connection&, const X11Layout&)`, which returns an optional, finds; nothing while there is
  /// no server.
  template <class Query>
  auto ask(Query&& query) {
    const std::lock_guard guard(lock_);
    using Answer = decltype(query(*connection_, layout_));
    return isReady() ? query(*connection_, layout_) : Answer();
  }

 private:
  bool isReady();

  const std::string displayName_;
  std::mutex lock_;
  std::unique_ptr<X11Connection> connection_;
  X11Layout layout_;
  std::chrono::steady_clock::time_point refreshAt_;
};

}  // namespace quillant
