#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

/// A sound server without hardware: an output "sys", which is the default, and a microphone "mic", the
/// default input, which hears what is played into the output "micfeed".
class SoundServer {
 public:
  /// Throws if it does not start.
  SoundServer();

  /// Where there is no server to start a test is skipped, never passed.
  static bool isAvailable();

  /// By which a client finds this server and no other.
  ChildProcess::Environment environment() const;
  /// The same for this process and all it starts from now on.
  void enter() const;

  /// Runs pactl with these words; what it prints. Throws if it fails.
  std::string control(const std::vector<std::string>& words) const;
  /// Plays a second of silence, then a tone that lasts `seconds`, to an output, until the object is
  /// destroyed.
  std::unique_ptr<ChildProcess> playTone(const std::string& output, double seconds = 60) const;
  /// Ends the server at once, as a crash would.
  void kill();
  /// From now on it answers nobody.
  void hang();

 private:
  TemporaryFolder folder_;
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace quillant
