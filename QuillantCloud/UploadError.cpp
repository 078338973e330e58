#include "QuillantCloud/UploadError.h"

#include <utility>

namespace quillant {

namespace {

struct Describe {
  std::string operator()(const UploadError::Put& put) const {
    auto text = "PUT failed (" + std::to_string(put.status) + ")";
    if (put.body) text += ": " + *put.body;
    return text;
  }
  std::string operator()(const UploadError::BadReservation&) const {
    return "missing/invalid upload reservation";
  }
  std::string operator()(const UploadError::CaptionsUnsupported&) const {
    return "The Quillant server can't take captions yet. Turn captions off in the Captions tab to share now.";
  }
  std::string operator()(const UploadError::CaptionsFileMissing&) const {
    return "The captions file for this share is missing. Try sharing again.";
  }
};

}  // namespace

UploadError::UploadError(Reason reason) : Error(std::visit(Describe(), reason)), reason_(std::move(reason)) {}

}  // namespace quillant
