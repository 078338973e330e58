#pragma once

#include <memory>
#include <optional>
#include <string>

#include "CaptureEngine/CameraConsumerToken.h"
#include "CaptureEngine/CameraSessionControlling.h"
#include "CaptureEngine/RefCountEdge.h"
#include "Core/SerialQueue.h"

namespace quillant {

/// One camera for all who want it: a preview that opens or closes never disturbs a recording.
///
/// Safe on any thread but the camera's own; every operation runs on the broker's queue and waits for it.
/// There is one broker a program, which outlives whoever holds a token.
class CameraSessionBroker {
 public:
  using Token = std::shared_ptr<CameraConsumerToken>;

  explicit CameraSessionBroker(std::unique_ptr<CameraSessionControlling> control);
  ~CameraSessionBroker();
  CameraSessionBroker(const CameraSessionBroker&) = delete;
  CameraSessionBroker& operator=(const CameraSessionBroker&) = delete;

  bool isAllowed();
  /// Opens the camera for a recording that is about to start. Throws `FacecamError`.
  CameraFormat recordingFormat();
  /// The recording that asked for the format does not come: closes the camera if nobody uses it.
  void abandonRecording();
  /// Frames go to `sink`, on the camera's thread, until the token is released. Throws `FacecamError`.
  Token acquireRecorder(CameraSessionControlling::Sink sink);
  /// Throws `FacecamError`.
  Token attachPreview();
  void connectPreview(CameraPreviewLayer& layer);
  void disconnectPreview(CameraPreviewLayer& layer);
  /// A second release of a token does nothing.
  void release(const Token& token);
  /// No id: the default camera. A camera in use is replaced at once if it is another one.
  void setPreferredCamera(std::optional<std::string> id);
  /// Whether the camera failed while it was in use and could not be restarted.
  bool isLost();

 private:
  Token acquire(CameraConsumerToken::Kind kind);
  void recover();
  void restart();

  const std::unique_ptr<CameraSessionControlling> control_;
  // Everything below belongs to the queue.
  RefCountEdge edge_;
  int recoveryAttempts_ = 0;
  bool isLost_ = false;
  // Last, so that what is still queued finds all the rest.
  SerialQueue queue_{"quillant.camera"};
};

}  // namespace quillant
