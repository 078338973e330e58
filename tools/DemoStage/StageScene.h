#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Core/Geometry.h"
#include "Core/PixelBuffer.h"

namespace quillant {

/// The desktop of the demo: a document in a window, a terminal, and a dialog that asks whether to publish the
/// document. It moves only when it is pressed, and on with time afterwards. Pixels of a screen of 1920 by
/// 1080, origin top left; seconds on a clock of the caller's. One thread.
class StageScene {
 public:
  static constexpr int width = 1920;
  static constexpr int height = 1080;

  StageScene();

  void press(Point place, double now);
  void release(Point place);
  /// Of the wheel, in notches; positive is down.
  void turn(Point place, int notches);
  /// Goes on to `now`, and returns what has to be drawn again.
  std::vector<PixelRect> advance(double now);
  /// A part of the screen as it is now: opaque, without gaps between its rows.
  PixelBufferRef compose(const PixelRect& area) const;

 private:
  enum class Button { none, open, cancel, confirm };

  void redraw(const Rect& area);
  void drawButton();
  void drawTerminal();
  void drawDialog();
  Button buttonAt(Point place) const;

  PixelBufferRef desktop_;
  PixelBufferRef page_;
  PixelBufferRef button_;
  PixelBufferRef terminal_;
  PixelBufferRef dialog_;

  double scrolled_ = 0;  ///< Of the page, pixels.
  double scrollTarget_ = 0;
  std::optional<double> typingSince_;
  std::size_t typed_ = 0;     ///< Characters of the command.
  std::size_t answered_ = 0;  ///< Lines after it.
  bool asks_ = false;
  bool isPublished_ = false;
  Button pressed_ = Button::none;
  std::vector<PixelRect> stale_;
};

}  // namespace quillant
