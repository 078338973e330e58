#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "Linux/Screen/SharedPixels.h"
#include "Linux/X11/X11Connection.h"

namespace quillant {

/// Reads pixels of windows and pixmaps: through shared memory where the server and we are on one machine,
/// over the socket elsewhere. Belongs to one thread, and may not outlive its connection.
class PixelFetcher {
 public:
  explicit PixelFetcher(const X11Connection& connection);

  /// Lets the server write into `pixels` for as long as the connection lives, if it can.
  void attach(SharedPixels& pixels);
  /// Call before memory goes that was attached while the connection goes on.
  void detach(SharedPixels& pixels);

  /// Fetches rectangles of `target`, each from the place in `drawable` that lies `offsetX`, `offsetY` further
  /// on. All of them have to lie inside both. False if the server refuses or goes away; what `target` holds
  /// there is then undefined.
  bool fetch(xcb_drawable_t drawable, int offsetX, int offsetY, std::span<const PixelRect> rects,
             SharedPixels& target);

  std::uint64_t pixelsFetched() const { return pixelsFetched_; }

 private:
  bool fetchShared(xcb_drawable_t drawable, int offsetX, int offsetY, std::span<const PixelRect> rects,
                   SharedPixels& target);
  bool fetchOverSocket(xcb_drawable_t drawable, int offsetX, int offsetY, std::span<const PixelRect> rects,
                       SharedPixels& target);

  const X11Connection& x_;
  bool shared_;
  /// Where a rectangle narrower than the picture lands, as the server writes rows without a gap.
  std::unique_ptr<SharedPixels> scratch_;
  std::uint64_t pixelsFetched_ = 0;
};

}  // namespace quillant
