#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "Core/Error.h"

namespace quillant {

/// Why a session could not start.
class CaptureError : public Error {
 public:
  struct PermissionDenied {
    std::string underlying;  ///< What the screen's service said.
  };
  struct DisplayNotFound {
    std::optional<std::uint32_t> requested;  ///< Absent: the main display.
    std::vector<std::uint32_t> available;
  };
  struct WindowNotFound {
    std::uint32_t requested = 0;
  };
  struct OutputExists {
    std::filesystem::path url;
  };
  struct NameInUse {
    std::filesystem::path marker;
    std::int32_t pid = 0;  ///< Whose recording it is.
  };
  struct AreaDisplayUnavailable {
    std::uint32_t displayID = 0;
  };
  using Kind = std::variant<PermissionDenied, DisplayNotFound, WindowNotFound, OutputExists, NameInUse,
                            AreaDisplayUnavailable>;

  explicit CaptureError(Kind kind);
  const Kind& kind() const { return kind_; }

 private:
  Kind kind_;
};

}  // namespace quillant
