#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>
#include <variant>

#include "Core/Error.h"

namespace quillant {

/// Why an upload stopped between the service's answers.
class UploadError : public Error {
 public:
  /// Object storage refused, with the beginning of its answer where that is a text; status -1: it could not
  /// be asked.
  struct Put {
    int status = 0;
    std::optional<std::string> body;
  };
  struct BadReservation {};
  struct CaptionsUnsupported {};
  struct CaptionsFileMissing {};
  /// The signed URL would let others read along.
  struct InsecureURL {};
  /// The file is not the one that was queued.
  struct SizeChanged {
    std::int64_t queued = 0;
    std::int64_t found = 0;
    friend bool operator==(const SizeChanged&, const SizeChanged&) = default;
  };
  /// A path that the upload's record cannot hold.
  struct PathNotUTF8 {
    std::string path;
  };
  struct Cancelled {};
  /// All was sent, and the service has not called the video live.
  struct NotReady {};
  /// The link is there, and no file was made for it yet.
  struct NothingToSend {
    friend bool operator==(const NothingToSend&, const NothingToSend&) = default;
  };
  /// Another run has the upload.
  struct UnderWay {
    pid_t process = 0;  ///< 0 if that is not known.
  };
  using Reason = std::variant<Put, BadReservation, CaptionsUnsupported, CaptionsFileMissing, InsecureURL,
                              SizeChanged, PathNotUTF8, Cancelled, NotReady, NothingToSend, UnderWay>;

  explicit UploadError(Reason reason);
  const Reason& reason() const { return reason_; }
  /// Whether `error` says that its run was cancelled.
  static bool isCancelled(const std::exception& error);
  /// Whether `error` says that the upload fails however often it is tried: its file is another one by now, or
  /// was never made.
  static bool isFinal(const std::exception& error);

 private:
  Reason reason_;
};

}  // namespace quillant
