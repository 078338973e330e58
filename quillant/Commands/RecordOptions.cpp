#include "quillant/Commands/RecordOptions.h"

#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <string_view>
#include <utility>

#include "CaptureEngine/RecordingFiles.h"
#include "quillant/Commands/Command.h"
#include "quillant/Commands/ParseNumber.h"

namespace quillant {

namespace {

using ParseError = RecordOptions::ParseError;

struct Describe {
  std::string operator()(const ParseError::Missing& kind) const {
    return "missing required option " + kind.option;
  }
  std::string operator()(const ParseError::InvalidValue& kind) const {
    return "invalid value '" + kind.value + "' for " + kind.flag;
  }
  std::string operator()(const ParseError::UnknownFlag& kind) const { return "unknown option " + kind.flag; }
};

/// The words that are still to be read.
class Words {
 public:
  explicit Words(const std::vector<std::string>& words) : next_(words.begin()), end_(words.end()) {}
  bool isEmpty() const { return next_ == end_; }
  const std::string& take() { return *next_++; }
  const std::string& takeValue(const std::string& flag) {
    if (isEmpty()) throw ParseError(ParseError::Missing{flag + " <value>"});
    return take();
  }

 private:
  std::vector<std::string>::const_iterator next_;
  std::vector<std::string>::const_iterator end_;
};

double seconds(const std::string& flag, const std::string& word) {
  const auto value = parseNumber<double>(word, std::chars_format::general);
  // The parser takes "inf" and "nan" too, which are no decimal numbers.
  if (!value || !std::isfinite(*value) || !(*value > 0))
    throw ParseError(ParseError::InvalidValue{flag, word});
  return *value;
}

std::filesystem::path outputPath(const std::string& flag, const std::string& word) {
  auto path = pathArgument(word);
  // The video would stand where its own marker belongs.
  if (RecordingFiles::marker(path) == path) throw ParseError(ParseError::InvalidValue{flag, word});
  return path;
}

}  // namespace

RecordOptions::ParseError::ParseError(Kind kind)
    : Error(std::visit(Describe{}, kind)), kind_(std::move(kind)) {}

RecordOptions RecordOptions::parse(const std::vector<std::string>& list) {
  RecordOptions options;
  bool hasDuration = false;
  bool hasOutput = false;
  for (Words words(list); !words.isEmpty();) {
    const auto& flag = words.take();
    if (flag == "--duration") {
      options.duration = seconds(flag, words.takeValue(flag));
      hasDuration = true;
    } else if (flag == "--output") {
      options.output = outputPath(flag, words.takeValue(flag));
      hasOutput = true;
    } else if (flag == "--mic") {
      options.mic = true;
    } else if (flag == "--mic-device") {
      options.micDeviceID = words.takeValue(flag);
      options.mic = true;
    } else if (flag == "--system-audio") {
      options.systemAudio = true;
    } else if (flag == "--facecam") {
      options.facecam = true;
    } else if (flag == "--no-telemetry") {
      options.telemetry = false;
    } else if (flag == "--pause-after") {
      options.pauseAfter = seconds(flag, words.takeValue(flag));
    } else if (flag == "--pause-duration") {
      options.pauseDuration = seconds(flag, words.takeValue(flag));
    } else if (flag == "--display") {
      options.display = displayID(flag, words.takeValue(flag));
    } else {
      throw ParseError(ParseError::UnknownFlag{flag});
    }
  }
  if (!hasDuration) throw ParseError(ParseError::Missing{"--duration"});
  if (!hasOutput) throw ParseError(ParseError::Missing{"--output"});
  return options;
}

std::uint32_t RecordOptions::displayID(const std::string& flag, const std::string& word) {
  const auto value = parseNumber<std::uint32_t>(word, 10);
  if (!value) throw ParseError(ParseError::InvalidValue{flag, word});
  return *value;
}

std::string RecordOptions::description() const {
  auto text = fmt::format("duration={}s output={}", duration, output.string());
  if (mic) text += micDeviceID ? " mic=" + *micDeviceID : " mic";
  if (systemAudio) text += " system-audio";
  if (facecam) text += " facecam";
  if (!telemetry) text += " no-telemetry";
  if (display) text += fmt::format(" display={}", *display);
  return text;
}

}  // namespace quillant
