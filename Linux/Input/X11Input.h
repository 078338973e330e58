#pragma once

#include <optional>
#include <vector>

#include "CaptureEngine/ClickEventSource.h"
#include "CaptureEngine/CursorTrack.h"
#include "Linux/X11/X11Connection.h"

namespace quillant {

/// The mouse of an X desktop as one recording sees it: where the pointer is in what is recorded, and the
/// clicks, over whichever window and under whatever grab they happen.
///
/// It has no thread of its own: whoever reads the pointer takes the clicks out of the same connection, so
/// they are delivered while `read` or `stop` runs. `start` answers false on a server without the second
/// version of the input extension. All of it is called on one thread at a time, and nothing throws.
class X11Input : public ClickEventSource {
 public:
  /// From where the pointer is counted.
  struct Origin {
    xcb_window_t window = XCB_WINDOW_NONE;  ///< The root, or the window that is recorded, which may move.
    Point offset;                           ///< Of what is recorded, in the window's pixels.
    double scale = 1;                       ///< Pixels a point.
  };

  /// The connection is used for nothing else from now on, and outlives this object.
  X11Input(X11Connection& connection, const Origin& origin) : x_(connection), origin_(origin) {}
  ~X11Input() override { X11Input::stop(); }
  X11Input(const X11Input&) = delete;
  X11Input& operator=(const X11Input&) = delete;

  /// In points from the top left of what is recorded, with the buttons' state. What it was the last time, if
  /// the server takes longer than a few samples, has gone away, or no longer has the window.
  CursorTrack::Snapshot read();

  bool start(Handler handler) override;
  void stop() override;

 private:
  struct Question {
    xcb_query_pointer_cookie_t pointer;
    xcb_get_geometry_cookie_t geometry;
  };

  Question ask() const;
  void takeAnswer();
  bool selectButtons();
  void readMapping();
  void takeEvents();
  void take(const xcb_generic_event_t& event);
  void takeButton(const xcb_generic_event_t& event);

  X11Connection& x_;
  const Origin origin_;
  std::optional<Question> asked_;  ///< Not answered yet.
  CursorTrack::Snapshot last_;
  Handler handler_;             ///< Empty while clicks are not listened to.
  std::uint8_t extension_ = 0;  ///< The number of its requests, which its events carry.
  std::vector<std::uint8_t> mapping_;
};

}  // namespace quillant
