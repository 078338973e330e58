#pragma once

namespace quillant {

/// How a recording's clicks were detected, for the log and for support.
struct ClickDiagnostics {
  bool fromSystemEvents = false;  ///< False: the buttons were polled.
  int shortClicks = 0;            ///< Clicks shorter than the gap between two samples.

  friend bool operator==(const ClickDiagnostics&, const ClickDiagnostics&) = default;
};

}  // namespace quillant
