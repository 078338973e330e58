#pragma once

#include <memory>
#include <string>

#include "Core/Task.h"

namespace quillant {

/// The desktop application's main thread: its windows, and whatever is executed on it. One a process.
class DesktopLoop {
 public:
  /// On the main thread, where a display server answers: without one the process ends here.
  explicit DesktopLoop(const std::string& version);
  ~DesktopLoop();
  DesktopLoop(const DesktopLoop&) = delete;
  DesktopLoop& operator=(const DesktopLoop&) = delete;

  Executor executor() const;
  /// Until `quit`.
  void run();
  static void quit();

 private:
  struct Application;
  std::unique_ptr<Application> application_;
};

}  // namespace quillant
