#pragma once

#include <filesystem>
#include <string>
#include <variant>

#include "QuillantShare/CapReason.h"

namespace quillant {

enum class ShareFailPhase { render, upload };

/// What the share of a project has come to. Progress runs from 0 to 1.
namespace ShareStates {
/// A limit of the account stops it; there is no link.
struct Cap {
  CapReason reason;
  friend bool operator==(const Cap&, const Cap&) = default;
};
struct Rendering {
  double progress = 0;
  bool passthrough = false;  ///< The recording's own samples are copied.
  friend bool operator==(const Rendering&, const Rendering&) = default;
};
struct Uploading {
  double progress = 0;
  friend bool operator==(const Uploading&, const Uploading&) = default;
};
/// The link is live and shows the edit as it is.
struct Safe {
  std::string shareURL;
  friend bool operator==(const Safe&, const Safe&) = default;
};
/// The link is live and shows an earlier edit.
struct Stale {
  std::string shareURL;
  friend bool operator==(const Stale&, const Stale&) = default;
};
struct ExportingFile {
  double progress = 0;
  friend bool operator==(const ExportingFile&, const ExportingFile&) = default;
};
struct FileSaved {
  std::filesystem::path file;
  friend bool operator==(const FileSaved&, const FileSaved&) = default;
};
/// There is no link.
struct FailedMint {
  std::string message;
  friend bool operator==(const FailedMint&, const FailedMint&) = default;
};
/// The link exists and was copied; the bytes have not arrived.
struct FailedAfterMint {
  std::string shareURL;
  ShareFailPhase phase = ShareFailPhase::upload;
  std::string message;
  friend bool operator==(const FailedAfterMint&, const FailedAfterMint&) = default;
};
/// Nothing has been shared yet.
struct Ready {
  friend bool operator==(const Ready&, const Ready&) = default;
};
}  // namespace ShareStates

using ShareState =
    std::variant<ShareStates::Cap, ShareStates::Rendering, ShareStates::Uploading, ShareStates::Safe,
                 ShareStates::Stale, ShareStates::ExportingFile, ShareStates::FileSaved,
                 ShareStates::FailedMint, ShareStates::FailedAfterMint, ShareStates::Ready>;

}  // namespace quillant
