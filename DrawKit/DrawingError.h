#pragma once

#include "Core/Error.h"

namespace quillant {

/// A picture could not be drawn, read or written. Drawing it again would fail again.
class DrawingError : public Error {
 public:
  enum class Kind {
    size,        ///< A side is not in 1...Canvas::longestSide.
    drawing,     ///< Memory ran out, or a coordinate is not finite.
    unreadable,  ///< A file is missing, or holds no picture that can be read.
    unwritable,  ///< A file could not be written whole.
  };

  explicit DrawingError(Kind kind_) : Error(text(kind_)), kind(kind_) {}

  Kind kind;

 private:
  static const char* text(Kind kind) {
    switch (kind) {
      case Kind::size:
        return "The picture is too large to be drawn.";
      case Kind::drawing:
        break;
      case Kind::unreadable:
        return "The picture couldn’t be read.";
      case Kind::unwritable:
        return "The picture couldn’t be written.";
    }
    return "The picture couldn’t be drawn.";
  }
};

}  // namespace quillant
