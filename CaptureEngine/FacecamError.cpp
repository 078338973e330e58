#include "CaptureEngine/FacecamError.h"

#include "Core/SystemWords.h"

namespace quillant {

namespace {

std::string text(FacecamError::Kind kind) {
  switch (kind) {
    case FacecamError::Kind::permissionDenied:
      return "camera access denied (" + SystemWords::whereToAllow("Camera") + ")";
    case FacecamError::Kind::noCamera:
      return "no camera device available";
    case FacecamError::Kind::cannotConfigure:
      return "could not configure camera capture session";
  }
  return "";
}

}  // namespace

FacecamError::FacecamError(Kind kind) : Error(text(kind)), kind_(kind) {}

}  // namespace quillant
