#pragma once

#include "Core/Error.h"

namespace quillant {

/// A frame could not be composed. The next one may be.
class VideoCompositorError : public Error {
 public:
  enum class Kind {
    missingInstruction,
    missingSourceFrame,       ///< No file of the edit has a picture in the request.
    renderBufferUnavailable,  ///< There was no memory for the frame, or its size is none that can be drawn.
    renderFailed,
  };

  explicit VideoCompositorError(Kind kind_) : Error(text(kind_)), kind(kind_) {}

  Kind kind;

 private:
  static const char* text(Kind kind) {
    switch (kind) {
      case Kind::missingInstruction:
        return "A frame of the video has no instruction.";
      case Kind::missingSourceFrame:
        return "A frame of the recording is missing.";
      case Kind::renderBufferUnavailable:
        return "A frame of the video can’t be drawn at this size.";
      case Kind::renderFailed:
        break;
    }
    return "A frame of the video couldn’t be drawn.";
  }
};

}  // namespace quillant
