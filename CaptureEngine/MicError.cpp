#include "CaptureEngine/MicError.h"

namespace quillant {

namespace {

const char* text(MicError::Kind kind) {
  switch (kind) {
    case MicError::Kind::permissionDenied:
      return "microphone access denied (System Settings → Privacy & Security → Microphone)";
    case MicError::Kind::noMicrophone:
      return "no microphone device available";
    case MicError::Kind::cannotConfigure:
      return "could not configure microphone capture session";
  }
  return "";
}

}  // namespace

MicError::MicError(Kind kind) : Error(text(kind)), kind_(kind) {}

}  // namespace quillant
