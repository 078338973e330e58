#pragma once

#include <string>
#include <vector>

namespace quillant {

/// What the sound server offers to record from, at one moment.
struct SoundDevices {
  struct Source {
    std::string id;             ///< The server's name of it; lasts over restarts.
    std::string name;           ///< For people.
    std::string monitoredSink;  ///< The output whose sound this is; empty for an input.
    friend bool operator==(const Source&, const Source&) = default;
  };

  std::vector<Source> sources;
  std::string defaultSource;  ///< Empty: there is none.
  std::string defaultSink;    ///< Empty: there is none.
};

}  // namespace quillant
