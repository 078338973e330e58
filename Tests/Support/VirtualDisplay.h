#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace quillant {

/// An X server without a screen, on a display number of its own; it ends with the object, and with the thread
/// that made it.
class VirtualDisplay {
 public:
  /// Arguments are added to Xvfb's command line. Throws if it does not start.
  explicit VirtualDisplay(int width = 640, int height = 480, const std::vector<std::string>& arguments = {});
  ~VirtualDisplay();
  VirtualDisplay(const VirtualDisplay&) = delete;
  VirtualDisplay& operator=(const VirtualDisplay&) = delete;

  /// Where there is no Xvfb a test is skipped, never passed.
  static bool isAvailable();

  /// What DISPLAY is for its clients: ":57".
  const std::string& name() const { return name_; }
  pid_t processID() const { return process_; }
  /// Runs a program (found on PATH) with DISPLAY set, waits for it, and returns its exit code.
  int run(const std::vector<std::string>& command) const;
  /// Ends the server at once, as a crash would.
  void kill();

 private:
  void end(int signal);

  pid_t process_ = -1;
  std::string name_;
};

}  // namespace quillant
