#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "CaptureEngine/CameraSessionBroker.h"
#include "Core/OwningSequence.h"
#include "Core/SerialQueue.h"
#include "Core/Signal.h"
#include "Core/Task.h"

namespace quillant {

struct CameraOption {
  std::string id;
  std::string name;  ///< For people.
  friend bool operator==(const CameraOption&, const CameraOption&) = default;
};

/// The cameras there are, and what the shared one sees, for as many places as want to show it. Belongs to the
/// main thread; the camera is opened and closed on a queue of its own.
class CameraPreview : public std::enable_shared_from_this<CameraPreview> {
 public:
  using Layer = std::shared_ptr<CameraPreviewLayer>;
  /// The default one first. Blocking; throws nothing.
  using ListDevices = std::function<std::vector<CameraOption>()>;

  /// The broker outlives it.
  static std::shared_ptr<CameraPreview> make(CameraSessionBroker& broker, ListDevices listDevices);

  ~CameraPreview();
  CameraPreview(const CameraPreview&) = delete;
  CameraPreview& operator=(const CameraPreview&) = delete;

  /// As they were listed last.
  const std::vector<CameraOption>& devices() const { return devices_; }
  /// Lists them, and tries again to open the camera for the layers that have none.
  Task<> refresh();
  Signal<> changed;

  /// The layer is given pictures as soon as there are any, until it is hidden.
  void show(Layer layer);
  void hide(Layer layer);

 private:
  CameraPreview(CameraSessionBroker& broker, ListDevices listDevices);
  static Task<std::vector<CameraOption>> list(std::shared_ptr<CameraPreview> self);
  void attach(CameraSessionBroker::Token& token);
  void detach(const Layer& layer, const CameraSessionBroker::Token& token);

  const OwningSequence sequence_;
  CameraSessionBroker& broker_;
  const ListDevices listDevices_;
  std::vector<CameraOption> devices_;
  /// Of the queue: what each layer holds of the camera, null while it could not be opened.
  std::map<Layer, CameraSessionBroker::Token> tokens_;
  SerialQueue queue_{"quillant.camera.preview"};
};

}  // namespace quillant
