#include "CaptureEngine/CaptureError.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "Core/SystemWords.h"

namespace quillant {

namespace {

struct Describe {
  std::string operator()(const CaptureError::PermissionDenied& kind) const {
    return "cannot enumerate displays — Screen Recording permission is likely missing for this process's "
           "responsible app (" +
           SystemWords::whereToAllow("Screen Recording") + "): " + kind.underlying;
  }
  std::string operator()(const CaptureError::DisplayNotFound& kind) const {
    return fmt::format("display {} not found; available: [{}]",
                       kind.requested ? std::to_string(*kind.requested) : "main",
                       fmt::join(kind.available, ", "));
  }
  std::string operator()(const CaptureError::WindowNotFound& kind) const {
    return fmt::format(
        "window {} is no longer on screen — it was closed or hidden between picking it and pressing Record",
        kind.requested);
  }
  std::string operator()(const CaptureError::OutputExists& kind) const {
    return "output file already exists: " + kind.url.string() +
           " — refusing to overwrite (never lose a recording)";
  }
  std::string operator()(const CaptureError::NameInUse& kind) const {
    return fmt::format("process {} is recording under this name — choose another, or remove {} if it is not",
                       kind.pid, kind.marker.string());
  }
  std::string operator()(const CaptureError::AreaDisplayUnavailable& kind) const {
    return fmt::format(
        "area capture requested but display {} has no matching NSScreen — cannot map the crop; refusing to "
        "capture the wrong region (rule 11/13)",
        kind.displayID);
  }
};

}  // namespace

CaptureError::CaptureError(Kind kind) : Error(std::visit(Describe{}, kind)), kind_(std::move(kind)) {}

}  // namespace quillant
