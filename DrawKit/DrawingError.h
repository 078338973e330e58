#pragma once

#include "Core/Error.h"

namespace quillant {

/// A picture could not be drawn. The same call would fail again.
class DrawingError : public Error {
 public:
  enum class Kind {
    size,     ///< A side is not in 1...Canvas::longestSide.
    drawing,  ///< Memory ran out, or a coordinate is not finite.
  };

  explicit DrawingError(Kind kind_)
      : Error(kind_ == Kind::size ? "The picture is too large to be drawn."
                                  : "The picture couldn’t be drawn."),
        kind(kind_) {}

  Kind kind;
};

}  // namespace quillant
