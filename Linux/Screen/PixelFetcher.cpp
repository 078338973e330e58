#include "Linux/Screen/PixelFetcher.h"

#include <cstring>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>
#include <xcb/shm.h>

#include "Core/PixelRects.h"

namespace quillant {

namespace {

constexpr std::uint32_t allPlanes = ~0U;

/// A descriptor can be handed over on a local socket only; to try on another ends the connection.
bool canShareMemory(const X11Connection& x) {
  sockaddr_storage address{};
  socklen_t length = sizeof(address);
  if (::getsockname(xcb_get_file_descriptor(x.get()), reinterpret_cast<sockaddr*>(&address), &length) != 0)
    return false;
  if (address.ss_family != AF_UNIX || !x.firstEvent(xcb_shm_id)) return false;
  const auto version = x.wait(xcb_shm_query_version_reply, xcb_shm_query_version(x.get()));
  return version && (version->major_version > 1 || version->minor_version >= 2);
}

void copyRows(const std::uint8_t* packed, const PixelRect& rect, SharedPixels& target) {
  const std::size_t row = static_cast<std::size_t>(rect.width) * 4;
  for (int y = 0; y < rect.height; ++y, packed += row)
    std::memcpy(target.at(rect.x, rect.y + y), packed, row);
}

}  // namespace

PixelFetcher::PixelFetcher(const X11Connection& connection)
    : x_(connection), shared_(canShareMemory(connection)) {}

void PixelFetcher::attach(SharedPixels& pixels) {
  if (!shared_) return;
  // The request closes the descriptor that it sends.
  const int descriptor = ::dup(pixels.descriptor());
  if (descriptor < 0) return;
  const xcb_shm_seg_t segment = xcb_generate_id(x_.get());
  shared_ = x_.succeeded(xcb_shm_attach_fd_checked(x_.get(), segment, descriptor, 0));
  if (shared_) pixels.segment = segment;
}

void PixelFetcher::detach(SharedPixels& pixels) {
  if (pixels.segment != 0) xcb_shm_detach(x_.get(), pixels.segment);
  pixels.segment = 0;
}

bool PixelFetcher::fetch(xcb_drawable_t drawable, int offsetX, int offsetY, std::span<const PixelRect> rects,
                         SharedPixels& target) {
  for (const auto& rect : rects) pixelsFetched_ += static_cast<std::uint64_t>(PixelRects::area(rect));
  if (shared_ && (!scratch_ || scratch_->size() < target.size())) {
    if (scratch_) detach(*scratch_);
    scratch_ = std::make_unique<SharedPixels>(target.width(), target.height());
    attach(*scratch_);
  }
  return shared_ && target.segment != 0 ? fetchShared(drawable, offsetX, offsetY, rects, target)
                                        : fetchOverSocket(drawable, offsetX, offsetY, rects, target);
}

bool PixelFetcher::fetchShared(xcb_drawable_t drawable, int offsetX, int offsetY,
                               std::span<const PixelRect> rects, SharedPixels& target) {
  // All requests go out before the first answer is awaited: one round trip, however many rectangles.
  std::vector<xcb_shm_get_image_cookie_t> cookies;
  cookies.reserve(rects.size());
  std::size_t used = 0;
  for (const auto& rect : rects) {
    const bool direct = rect.width == target.width();
    const std::size_t offset =
        direct ? static_cast<std::size_t>(target.at(0, rect.y) - target.at(0, 0)) : used;
    const std::size_t bytes = static_cast<std::size_t>(PixelRects::area(rect)) * 4;
    if (!direct) used += bytes;
    cookies.push_back(
        xcb_shm_get_image(x_.get(), drawable, static_cast<std::int16_t>(rect.x + offsetX),
                          static_cast<std::int16_t>(rect.y + offsetY), static_cast<std::uint16_t>(rect.width),
                          static_cast<std::uint16_t>(rect.height), allPlanes, XCB_IMAGE_FORMAT_Z_PIXMAP,
                          direct ? target.segment : scratch_->segment, static_cast<std::uint32_t>(offset)));
  }
  bool complete = true;
  for (const auto& cookie : cookies) complete &= x_.wait(xcb_shm_get_image_reply, cookie) != nullptr;
  if (!complete) return false;
  const std::uint8_t* packed = scratch_->at(0, 0);
  for (const auto& rect : rects) {
    if (rect.width == target.width()) continue;
    copyRows(packed, rect, target);
    packed += PixelRects::area(rect) * 4;
  }
  return true;
}

bool PixelFetcher::fetchOverSocket(xcb_drawable_t drawable, int offsetX, int offsetY,
                                   std::span<const PixelRect> rects, SharedPixels& target) {
  std::vector<xcb_get_image_cookie_t> cookies;
  cookies.reserve(rects.size());
  for (const auto& rect : rects)
    cookies.push_back(xcb_get_image(
        x_.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, static_cast<std::int16_t>(rect.x + offsetX),
        static_cast<std::int16_t>(rect.y + offsetY), static_cast<std::uint16_t>(rect.width),
        static_cast<std::uint16_t>(rect.height), allPlanes));
  bool complete = true;
  for (std::size_t i = 0; i < rects.size(); ++i) {
    const auto image = x_.wait(xcb_get_image_reply, cookies[i]);
    complete = complete && image && xcb_get_image_data_length(image.get()) >= PixelRects::area(rects[i]) * 4;
    if (complete) copyRows(xcb_get_image_data(image.get()), rects[i], target);
  }
  return complete;
}

}  // namespace quillant
