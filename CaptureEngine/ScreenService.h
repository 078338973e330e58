#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Core/Error.h"
#include "Core/Geometry.h"
#include "Core/MediaTime.h"
#include "Core/PixelBuffer.h"
#include "Core/SerialQueue.h"
#include "Core/Task.h"

namespace quillant {

/// A display as the desktop lays it out.
struct DisplayInfo {
  std::uint32_t id = 0;
  Rect frame;        ///< Global points, origin at the top left of the primary display, y downwards.
  double scale = 1;  ///< Pixels a point.
  int pixelWidth = 0;
  int pixelHeight = 0;
  bool isMain = false;
  friend bool operator==(const DisplayInfo&, const DisplayInfo&) = default;
};

struct WindowInfo {
  std::uint32_t id = 0;
  std::string title;
  Rect frame;  ///< Global points, origin at the top left of the primary display: the client area.
  friend bool operator==(const WindowInfo&, const WindowInfo&) = default;
};

/// What can be recorded now.
struct ShareableContent {
  std::vector<DisplayInfo> displays;
  std::vector<WindowInfo> windows;
};

/// What a stream shall deliver.
struct StreamConfiguration {
  std::uint32_t displayID = 0;
  std::optional<std::uint32_t> windowID;  ///< Set: this window alone, whatever covers it.
  std::optional<Rect> sourceRect;         ///< Points, origin at the display's top left; absent: all of it.
  /// Pixels of the delivered picture, even. A source larger by less than two pixels is cropped, any other is
  /// scaled, and never stretched: what the source does not fill is black. So is what an area has beyond its
  /// display. A window that changes its size keeps its scale and its top left, and is shrunk where it no
  /// longer fits.
  int width = 0;
  int height = 0;
  MediaTime minimumFrameInterval{1, 30};
  int queueDepth = 5;  ///< Buffers in the pool: while all are held elsewhere, pictures are skipped.
  friend bool operator==(const StreamConfiguration&, const StreamConfiguration&) = default;
};

/// Why no picture comes: the server cannot be reached or refuses, its pixels cannot be recorded, or a running
/// stream has ended.
class ScreenError : public Error {
 public:
  enum class Kind { unavailable, unsupportedFormat, displayChanged, windowClosed, serverLost };
  ScreenError(Kind kind, std::string description) : Error(std::move(description)), kind_(kind) {}
  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

/// The narrow control over a running stream.
class StreamControlling {
 public:
  virtual ~StreamControlling() = default;
  /// Ends once the first picture is with the sample queue, or at once if there is nothing to see yet, as in a
  /// hidden window. Throws ScreenError.
  virtual Task<void> startCapture() = 0;
  virtual Task<void> stopCapture() = 0;  ///< Throws ScreenError; no callback runs after it.
};

/// What a stream tells. Both run on the stream's sample queue.
struct StreamCallbacks {
  /// A picture that differs from the one before, and the host-clock time at which it was fetched.
  std::function<void(PixelBufferRef, MediaTime)> onFrame;
  /// The stream has ended by itself; at most once, and no picture follows.
  std::function<void(std::exception_ptr)> onStopped;
};

/// The screen as the capture engine needs it.
class ScreenService {
 public:
  virtual ~ScreenService() = default;
  /// Blocking; off the main thread. Throws ScreenError of kind unavailable when there is no display server,
  /// and of kind unsupportedFormat when no stream could deliver its pixels.
  virtual ShareableContent content() = 0;
  virtual std::unique_ptr<StreamControlling> makeStream(const StreamConfiguration& configuration,
                                                        SerialQueue& sampleQueue,
                                                        StreamCallbacks callbacks) = 0;
};

}  // namespace quillant
