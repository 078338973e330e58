#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Core/Error.h"
#include "Editor/Export/VideoExportOptions.h"
#include "quillant/Commands/LookOptions.h"

namespace quillant {

/// The words after `export`, `frame` or `captions`, understood.
struct ExportWords {
  enum class Command { exportVideo, frame, captions };

  /// Words that cannot be understood; the text names what would have been.
  class ParseError : public Error {
   public:
    explicit ParseError(std::string text) : Error(std::move(text)) {}
  };

  std::string subject;           ///< A project's id, a bundle, or a video.
  std::filesystem::path output;  ///< Absolute.
  VideoExportOptions choices;    ///< Without a look.
  bool choosesFrameRate = false;
  LookOptions look;
  double at = 0;                                 ///< Output seconds; of a frame.
  std::optional<TimelineTranscriptTrack> track;  ///< Of captions; none: every voice.

  /// Reads the words from left to right; a later occurrence of an option overrides an earlier one, but for
  /// cuts and speeds. Throws `ParseError`.
  static ExportWords parse(Command command, const std::vector<std::string>& words);

  /// Every option of a command, and the names of everything that can be chosen.
  static std::string help(Command command);
};

}  // namespace quillant
