#pragma once

#include <functional>
#include <optional>
#include <string>

#include "Core/MediaTime.h"
#include "Core/PixelBuffer.h"

namespace quillant {

struct CameraFormat {
  int width = 0;   ///< Pixels, even.
  int height = 0;  ///< Pixels, even.
  friend bool operator==(const CameraFormat&, const CameraFormat&) = default;
};

/// Where a preview shows what the camera sees.
class CameraPreviewLayer {
 public:
  virtual ~CameraPreviewLayer() = default;
  virtual void show(PixelBufferRef pixelBuffer) = 0;  ///< On the camera's thread; must not take long.
};

/// The machine's camera as the broker needs it. Only the broker's queue calls it, frames and errors come on a
/// thread of its own.
class CameraSessionControlling {
 public:
  using Sink = std::function<void(PixelBufferRef, MediaTime)>;  ///< The time is the host clock's, at capture.

  virtual ~CameraSessionControlling() = default;
  /// Whether this program may open the camera that is to be used; true if there is none.
  virtual bool isAllowed() = 0;
  /// Opens the camera that is to be used, in place of another one that may be open. Frames have this format
  /// until the session is stopped. Throws `FacecamError`.
  virtual CameraFormat ensureInput() = 0;
  virtual bool isRunning() const = 0;
  /// Throws `FacecamError`.
  virtual void start() = 0;
  /// Closes the camera too. Not on the thread of the frames.
  virtual void stop() = 0;
  /// Once this has returned, the sink before gets nothing more.
  virtual void setSink(Sink sink) = 0;
  /// Called when the running camera fails. Set once, before the first start.
  virtual void setOnRuntimeError(std::function<void()> onRuntimeError) = 0;
  /// No id: the default camera. Takes effect at the next `ensureInput`.
  virtual void setPreferredDevice(std::optional<std::string> id) = 0;
  /// A layer is disconnected before it is destroyed.
  virtual void connectPreview(CameraPreviewLayer& layer) = 0;
  virtual void disconnectPreview(CameraPreviewLayer& layer) = 0;
};

}  // namespace quillant
