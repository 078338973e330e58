#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Editor/Project/BackgroundStyle.h"
#include "Editor/Timeline/TimelineCaptions.h"
#include "Editor/Timeline/TimelineSpan.h"

namespace quillant {

class EditorCoordinator;

/// How one export looks, as far as it differs from the project, which is not changed.
struct LookOptions {
  struct Cursor {
    std::optional<std::string> style;  ///< None hides it.
    std::optional<double> size;
  };
  struct Speed {
    TimelineSpan span;
    double speed = 1;
  };

  /// The recording as it is: nothing of the project's edit and nothing around the picture. The other choices
  /// come on top.
  bool isPlain = false;
  std::optional<std::string> zoom;            ///< A preset's name, or `none`.
  std::optional<BackgroundStyle> background;  ///< Transparent takes the framing away as well.
  std::optional<double> padding;              ///< Points of a canvas whose short side is 360.
  std::optional<double> cornerRadius;         ///< The same points.
  std::optional<double> shadow;               ///< 0...1
  std::optional<double> inset;                ///< Hundredths of the frame.
  std::optional<Cursor> cursor;
  std::optional<std::string> camera;  ///< An anchor, or `none`.
  // Seconds of the video as it would be without these. Cuts may overlap, speeds may not.
  std::vector<TimelineSpan> cuts;
  std::vector<Speed> speeds;
  std::optional<TimelineCaptionStyle> captions;  ///< Turns them on.
  bool burnsCaptions = true;                     ///< Those that are on.

  static constexpr const char* none = "none";

  /// Throws `EditorError`, and `VideoExportRendererError` if nothing is left to play.
  void apply(EditorCoordinator& coordinator) const;
};

}  // namespace quillant
