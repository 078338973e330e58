#include "QuillantCloud/UploadError.h"

#include <fmt/format.h>
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
  std::string operator()(const UploadError::InsecureURL&) const {
    return "the address to upload to is not https; nothing was sent";
  }
  std::string operator()(const UploadError::SizeChanged& size) const {
    return fmt::format("the file has changed since it was queued ({} bytes then, {} now); upload it again",
                       size.queued, size.found);
  }
  std::string operator()(const UploadError::PathNotUTF8& text) const {
    return "the path " + text.path +
           " is not UTF-8, so it cannot be kept until the upload is done; rename it";
  }
  std::string operator()(const UploadError::Cancelled&) const { return "the upload was cancelled"; }
  std::string operator()(const UploadError::NotReady&) const {
    return "the service has not made the video ready yet";
  }
  std::string operator()(const UploadError::NothingToSend&) const {
    return "nothing was rendered for this link yet; share it again, the link stays the same";
  }
  std::string operator()(const UploadError::UnderWay& run) const {
    return run.process > 0 ? fmt::format("the upload is under way in process {}", run.process)
                           : "the upload is under way in another process";
  }
};

template <class Reason>
bool hasReason(const std::exception& error) {
  const auto* uploadError = dynamic_cast<const UploadError*>(&error);
  return uploadError != nullptr && std::holds_alternative<Reason>(uploadError->reason());
}

}  // namespace

UploadError::UploadError(Reason reason) : Error(std::visit(Describe(), reason)), reason_(std::move(reason)) {}

bool UploadError::isCancelled(const std::exception& error) {
  return hasReason<Cancelled>(error);
}

bool UploadError::isFinal(const std::exception& error) {
  return hasReason<SizeChanged>(error) || hasReason<NothingToSend>(error);
}

}  // namespace quillant
