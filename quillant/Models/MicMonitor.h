#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CaptureEngine/SoundService.h"
#include "Core/OwningSequence.h"
#include "Core/SerialQueue.h"
#include "Core/Signal.h"
#include "Core/Task.h"

namespace quillant {

struct MicOption {
  std::string id;
  std::string name;  ///< For people.
  friend bool operator==(const MicOption&, const MicOption&) = default;
};

/// The microphones there are, and how loud one of them is. It listens beside a recording, never in its way.
/// Belongs to the main thread; the sound server is asked on a queue of its own.
class MicMonitor : public std::enable_shared_from_this<MicMonitor> {
 public:
  struct Environment {
    /// The default one first; empty without a server. Blocking; throws nothing.
    std::function<std::vector<MicOption>()> devices;
    /// As `SoundService::makeMicrophone`. Blocking; throws an `Error`.
    std::function<std::unique_ptr<SoundStream>(const std::optional<std::string>&,
                                               SoundService::BufferCallback)>
        open;
  };

  static std::shared_ptr<MicMonitor> make(Environment environment);

  /// As they were listed last.
  const std::vector<MicOption>& devices() const { return devices_; }
  Task<> refresh();
  Signal<> changed;

  /// Listens to a microphone; without an id to the default one. Call it again now and then: a microphone from
  /// which nothing came meanwhile is opened anew.
  void listen(std::optional<std::string> deviceID);
  void stop();
  /// From 0 for silence to 1 for full scale, in decibels: the peak since the last call, which falls slowly.
  double level();

 private:
  /// What belongs to the queue, and the meter that the stream's thread writes to.
  struct Listening;

  explicit MicMonitor(Environment environment);
  static Task<std::vector<MicOption>> list(std::shared_ptr<MicMonitor> self);

  const OwningSequence sequence_;
  const Environment environment_;
  std::vector<MicOption> devices_;
  double level_ = 0;
  const std::shared_ptr<Listening> listening_;
  SerialQueue queue_{"quillant.mic.monitor"};
};

}  // namespace quillant
