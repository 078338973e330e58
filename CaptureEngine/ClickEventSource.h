#pragma once

#include <array>
#include <functional>

#include "Core/MediaTime.h"
#include "Core/RawTexts.h"

namespace quillant {

/// The buttons whose clicks are recorded.
enum class MouseButton { left, right };

template <>
inline constexpr auto rawTexts<MouseButton> = std::to_array<RawText<MouseButton>>({
    {MouseButton::left, "left"},
    {MouseButton::right, "right"},
});

/// A mouse button that went down or up, wherever on the desktop.
struct ClickEvent {
  enum class Kind { down, up };

  MouseButton button = MouseButton::left;
  Kind kind = Kind::down;
  MediaTime hostTime;  ///< Host clock, when it happened; it may be delivered later.

  friend bool operator==(const ClickEvent&, const ClickEvent&) = default;
};

/// The desktop's mouse clicks as events, where the platform has them.
class ClickEventSource {
 public:
  using Handler = std::function<void(const ClickEvent&)>;

  virtual ~ClickEventSource() = default;
  /// Whether events are going to be delivered; false means that the buttons have to be polled. The handler
  /// may run on any thread, and must not block.
  virtual bool start(Handler handler) = 0;
  /// Delivers what has happened until now. The handler does not run any more once this has returned; does
  /// nothing if not started.
  virtual void stop() = 0;
};

}  // namespace quillant
