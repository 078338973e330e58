#include "CaptureEngine/MicError.h"

#include "Core/SystemWords.h"

namespace quillant {

namespace {

std::string text(MicError::Kind kind) {
  switch (kind) {
    case MicError::Kind::permissionDenied:
      return "microphone access denied (" + SystemWords::whereToAllow("Microphone") + ")";
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
