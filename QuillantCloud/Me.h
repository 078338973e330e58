#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Core/JSONForward.h"

namespace quillant {

/// The account that a token belongs to.
struct Me {
  /// What the account has stored.
  struct Usage {
    std::int64_t videos = 0;
    std::int64_t bytes = 0;
    friend bool operator==(const Usage&, const Usage&) = default;
  };
  /// What it may store; what is absent is not limited.
  struct Limits {
    std::optional<std::int64_t> maxVideos;
    std::optional<std::int64_t> maxDurationMs;
    std::optional<std::int64_t> maxTotalBytes;
    friend bool operator==(const Limits&, const Limits&) = default;
  };

  std::string id;
  std::string email;
  std::optional<std::string> name;
  std::string plan;  ///< The service's word for the account's tier, shown as it comes.
  std::optional<Usage> usage;
  std::optional<Limits> limits;

  friend bool operator==(const Me&, const Me&) = default;
};

void from_json(const Json& json, Me::Usage& usage);
void from_json(const Json& json, Me::Limits& limits);
void from_json(const Json& json, Me& me);

}  // namespace quillant
