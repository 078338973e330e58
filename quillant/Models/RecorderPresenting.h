#pragma once

#include <cstddef>
#include <memory>

#include "Core/Task.h"
#include "quillant/Models/Alert.h"
#include "quillant/Models/AreaSelectionOverlayController.h"
#include "quillant/Models/CountdownOverlayController.h"

namespace quillant {

/// What stands on the screen for as long as this lives.
class Presentation {
 public:
  virtual ~Presentation() = default;
};

/// What the recorder shows before a recording. Everything is called on the main thread.
class RecorderPresenting {
 public:
  virtual ~RecorderPresenting() = default;

  /// Brings the program forward and waits for an answer: the index of the button. To close the alert is to
  /// press its button of role cancel. Throws nothing.
  virtual Task<std::size_t> ask(Alert alert) = 0;
  // What is shown may be ended by a call that it makes to its controller, which ends with it.
  virtual std::unique_ptr<Presentation> show(AreaSelectionOverlayController& controller) = 0;
  virtual std::unique_ptr<Presentation> show(CountdownOverlayController& controller) = 0;
};

}  // namespace quillant
