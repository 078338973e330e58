#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <variant>

namespace quillant {

/// Which limit of the account stops a share.
namespace CapReasons {
struct Videos {
  std::int64_t limit = 0;
  friend bool operator==(const Videos&, const Videos&) = default;
};
struct Duration {
  std::int64_t limitMs = 0;
  friend bool operator==(const Duration&, const Duration&) = default;
};
/// In the service's own words.
struct Server {
  std::string message;
  friend bool operator==(const Server&, const Server&) = default;
};
struct Storage {
  friend bool operator==(const Storage&, const Storage&) = default;
};
}  // namespace CapReasons
using CapReason =
    std::variant<CapReasons::Videos, CapReasons::Duration, CapReasons::Server, CapReasons::Storage>;

std::string panelMessage(const CapReason& reason);
/// The limit that the service or its storage refuses for, if `error` says so.
std::optional<CapReason> capReasonOf(const std::exception& error);

/// What a look at the account says before a share.
struct CapDecision {
  std::optional<CapReason> over;  ///< Nothing: the share may go on.

  friend bool operator==(const CapDecision&, const CapDecision&) = default;
};

}  // namespace quillant
