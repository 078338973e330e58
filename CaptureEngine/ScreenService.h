#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CaptureEngine/CaptureOptions.h"
#include "CaptureEngine/ClickEventSource.h"
#include "CaptureEngine/CursorTrack.h"
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
  std::string name;  ///< As the system calls it: "HDMI-1".
  friend bool operator==(const DisplayInfo&, const DisplayInfo&) = default;
};

struct WindowInfo {
  std::uint32_t id = 0;
  std::string title;
  Rect frame;              ///< Global points, origin at the top left of the primary display: the client area.
  std::string appName;     ///< Of the program that it belongs to, for people; empty if that is not known.
  std::string appID;       ///< The same for programs, in lower case; empty if it is not known.
  int layer = 0;           ///< 0: an ordinary window. Above it panels, menus and notes, below it the desktop.
  bool isOnScreen = true;  ///< False when iconified or on another workspace; it may be covered.
  friend bool operator==(const WindowInfo&, const WindowInfo&) = default;
};

/// What can be recorded now.
struct ShareableContent {
  std::vector<DisplayInfo> displays;
  std::vector<WindowInfo> windows;
  friend bool operator==(const ShareableContent&, const ShareableContent&) = default;
};

/// What a stream shall deliver of what its session records.
struct StreamConfiguration {
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

/// Why no picture comes: the server cannot be reached or refuses, shows nothing that could be recorded, or a
/// running stream has ended.
class ScreenError : public Error {
 public:
  enum class Kind { unavailable, notRecordable, displayChanged, windowClosed, serverLost };
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
  /// Delivers what is shown from now on, even if it is what was delivered last: the picture is fetched, and
  /// stamped, after this call. Any thread; does nothing unless the stream runs.
  virtual void refresh() = 0;
  virtual Task<void> stopCapture() = 0;  ///< Throws ScreenError; no callback runs after it.
};

/// A stream's callbacks. Both run on its sample queue.
struct StreamCallbacks {
  /// A picture that differs from the one before, and the host-clock time at which it was fetched.
  std::function<void(PixelBufferRef, MediaTime)> onFrame;
  /// The stream has ended by itself; at most once, and no picture follows.
  std::function<void(std::exception_ptr)> onStopped;
};

/// What a session records, as it was when the session was opened.
struct RecordedSource {
  int width = 0;  ///< Pixels of the recorded picture, even.
  int height = 0;
  Size points;  ///< The same in points, the unit of the pointer's track.
  friend bool operator==(const RecordedSource&, const RecordedSource&) = default;
};

/// One recording's access to the desktop: the picture, the pointer and the clicks of one source.
///
/// The session owns whatever connects it to the desktop, and the time limits of that. No call of it or of
/// what it gives waits for a desktop that does not answer longer than a bounded time: opening and starting
/// then fail, a running stream ends by itself, the pointer stays where it was, and stopping is prompt.
///
/// Everything about the source is frozen when the session is opened. There is one system of coordinates:
/// points of the source, origin at its top left, y downwards. Where on the desktop the source lies, and
/// whether there are global coordinates at all, is up to the platform; monitors that come and go and a scale
/// that changes never move anything. A source that can no longer be recorded as it was ends the stream.
///
/// Opened, used and destroyed by one owner, after the stream that it made.
class ScreenSession {
 public:
  virtual ~ScreenSession() = default;

  virtual const RecordedSource& source() const = 0;
  /// Called once. The callbacks' queue outlives the stream.
  virtual std::unique_ptr<StreamControlling> makeStream(const StreamConfiguration& configuration,
                                                        SerialQueue& sampleQueue,
                                                        StreamCallbacks callbacks) = 0;
  /// Where the pointer is now, as far as is known. One thread at a time, the one that starts and stops
  /// `clickEvents` too; quick enough for every sample of a track.
  virtual CursorTrack::Snapshot pointer() = 0;
  /// The clicks, delivered no later than the next read of `pointer`. Null where the desktop reports no
  /// clicks; where it does not report the buttons' state either, a recording has no clicks.
  virtual ClickEventSource* clickEvents() = 0;
};

/// The screen as the capture engine needs it.
class ScreenService {
 public:
  virtual ~ScreenService() = default;
  /// What a program may choose from; empty where only the user may, in a dialog of the desktop's own.
  /// Blocking, for a bounded time; off the main thread. Throws ScreenError of kind unavailable when there is
  /// no display server, notRecordable when the one that answers cannot be recorded.
  virtual ShareableContent content() = 0;
  /// Opens what `options` choose: of them only display, area, window and resolution count. Where the user
  /// chooses, it ends with the choice. May block for a bounded time; off the main thread. Throws
  /// CaptureError, or ScreenError as `content` does.
  virtual Task<std::unique_ptr<ScreenSession>> openSession(CaptureOptions options) = 0;
};

}  // namespace quillant
