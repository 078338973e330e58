#pragma once

#include "Core/Error.h"

namespace quillant {

/// What cannot be sent, since there is no upload that it would belong to.
class ShareUploadError : public Error {
 public:
  enum class Kind { noReservation };

  explicit ShareUploadError(Kind kind) : Error("there is no link to send the video to"), kind_(kind) {}
  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

}  // namespace quillant
