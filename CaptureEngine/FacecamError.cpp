#include "CaptureEngine/FacecamError.h"

namespace quillant {

namespace {

const char* text(FacecamError::Kind kind) {
  switch (kind) {
    case FacecamError::Kind::permissionDenied:
      return "camera access denied (System Settings → Privacy & Security → Camera)";
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
