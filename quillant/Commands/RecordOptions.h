#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "Core/Error.h"

namespace quillant {

/// The words after `record`, understood.
struct RecordOptions {
  double duration = 0;           ///< Seconds, above 0.
  std::filesystem::path output;  ///< Absolute.
  bool mic = false;
  std::optional<std::string> micDeviceID;
  bool systemAudio = false;
  bool facecam = false;
  bool telemetry = true;
  std::optional<std::uint32_t> display;  ///< Absent: the main display.
  // A scripted pause, for trying pauses without a user; both or there is none.
  std::optional<double> pauseAfter;     ///< Seconds from the start of the run.
  std::optional<double> pauseDuration;  ///< Seconds.

  class ParseError : public Error {
   public:
    struct Missing {
      std::string option;
    };
    struct InvalidValue {
      std::string flag;
      std::string value;
    };
    struct UnknownFlag {
      std::string flag;
    };
    using Kind = std::variant<Missing, InvalidValue, UnknownFlag>;
    explicit ParseError(Kind kind);
    const Kind& kind() const { return kind_; }

   private:
    Kind kind_;
  };

  /// Reads the words from left to right; a later occurrence of a flag overrides an earlier one. Throws
  /// `ParseError`.
  static RecordOptions parse(const std::vector<std::string>& words);
  /// What the word after `flag` says, for every command that takes a display. Throws `ParseError`.
  static std::uint32_t displayID(const std::string& flag, const std::string& word);

  /// For logs.
  std::string description() const;
};

}  // namespace quillant
