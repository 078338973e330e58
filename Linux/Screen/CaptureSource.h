#pragma once

#include <vector>
#include <xcb/xcb.h>

#include "CaptureEngine/ScreenService.h"
#include "Core/PixelBuffer.h"

namespace quillant {

/// What a stream takes its pictures from. Source coordinates are whole pixels from its top left. Used on the
/// stream's thread alone; may not outlive the connection it was made with.
class CaptureSource {
 public:
  /// Where the pixels are now.
  struct Picture {
    xcb_drawable_t drawable = XCB_NONE;  ///< None: nothing can be read at present, the last picture stays.
    int offsetX = 0;                     ///< Of the source's corner inside the drawable.
    int offsetY = 0;
    int width = 0;
    int height = 0;
    PixelRect readable;  ///< The part of the source that the drawable has; elsewhere it is black.
  };
  enum class Change {
    none,
    damaged,   ///< Something was drawn: `takeDamage` says where.
    replaced,  ///< `picture` is another one, of which nothing has been read yet.
  };

  virtual ~CaptureSource() = default;
  virtual const Picture& picture() const = 0;
  /// Looks at one event of the connection. Throws ScreenError when the source has ended.
  virtual Change handle(const xcb_generic_event_t& event) = 0;
  /// What was drawn since the last call, in source coordinates, possibly reaching beyond the source.
  virtual std::vector<PixelRect> takeDamage() = 0;
  /// Why reading fails although the server is there.
  virtual ScreenError ended() const = 0;
};

}  // namespace quillant
