#pragma once

#include <memory>
#include <optional>
#include <string>

#include "CaptureEngine/CameraSessionControlling.h"

namespace quillant {

/// An opened camera. Belongs to one thread at a time.
class CameraInput {
 public:
  struct Frame {
    PixelBufferRef pixelBuffer;
    MediaTime time;  ///< As the source gives it: the host clock of a device, or counted from 0.
  };

  /// `id` as in `CameraDevices::Info`. Throws `FacecamError`.
  explicit CameraInput(std::string id);
  ~CameraInput();

  const std::string& id() const { return id_; }
  CameraFormat format() const;
  /// Whether frames come as the device takes them, on the host clock; otherwise as fast as they are read.
  bool isDevice() const;
  /// The next frame; nothing if the camera has none yet. Throws an `Error` once the camera is gone.
  std::optional<Frame> read();

 private:
  struct Implementation;

  std::string id_;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace quillant
