#pragma once

#include <string>
#include <utility>

#include "Core/Error.h"

namespace quillant {

/// Why a file of video or sound could not be read, or a coder could not be had. What the disk refuses is a
/// `FileError` instead.
class MediaError : public Error {
 public:
  enum class Kind {
    unreadable,    ///< not a media file, or cut off before anything that plays
    noVideoTrack,  ///< a media file without a picture
    noFrame,       ///< the picture asked for is not in the file, or does not decode
    codec,         ///< an encoder or a muxer refuses its settings or its input
  };
  MediaError(Kind kind, std::string description) : Error(std::move(description)), kind_(kind) {}
  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

}  // namespace quillant
