#include "quillant/Commands/ReferencePicture.h"

#include <utility>

namespace quillant::ReferencePicture {

PixelBufferRef grab(ScreenService& screen, std::uint32_t displayID, const RecordedSource& size) {
  PixelBufferRef picture;
  SerialQueue queue{"quillant.reference"};
  const auto session = runBlocking(screen.openSession({.displayID = displayID}));
  const auto stream = session->makeStream({.width = size.width, .height = size.height}, queue,
                                          {.onFrame =
                                               [&](PixelBufferRef pixelBuffer, MediaTime) {
                                                 if (!picture) picture = std::move(pixelBuffer);
                                               },
                                           .onStopped = [](const std::exception_ptr&) {}});
  // The first picture is with the queue once the stream has started, and taken before an end of it is.
  runBlocking(stream->startCapture());
  queue.sync([] {});
  runBlocking(stream->stopCapture());
  if (!picture) throw ScreenError(ScreenError::Kind::unavailable, "the display shows nothing");
  return picture;
}

PixelBufferRef crop(const PixelBufferRef& picture, const PixelRect& part) {
  auto result = std::make_shared<PixelBuffer>(*picture);
  result->width = part.width;
  result->height = part.height;
  result->planes[0].data += part.y * picture->planes[0].stride + part.x * 4;
  return result;
}

double meanSquaredError(const PixelBuffer& first, const PixelBuffer& second) {
  double sum = 0;
  for (int y = 0; y < first.height; ++y) {
    const auto* a = first.planes[0].data + y * first.planes[0].stride;
    const auto* b = second.planes[0].data + y * second.planes[0].stride;
    std::int64_t row = 0;
    for (int x = 0; x < first.width * 4; ++x)
      if (x % 4 != 3) row += (a[x] - b[x]) * (a[x] - b[x]);
    sum += static_cast<double>(row);
  }
  return sum / (3.0 * first.width * first.height);
}

}  // namespace quillant::ReferencePicture
