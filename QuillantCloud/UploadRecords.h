#pragma once

#include <optional>
#include <string>

#include "Core/JSONForward.h"

namespace quillant {

/// An upload that the service has reserved: its link, and the URLs to put its objects to.
struct UploadReservation {
  std::string videoId;
  std::string slug;
  std::string shareURL;
  std::string putVideoURL;
  std::string putThumbURL;
  std::optional<std::string> putCaptionsURL;  ///< Absent: this service takes no captions.

  friend bool operator==(const UploadReservation&, const UploadReservation&) = default;
};

/// Fresh URLs for an upload that exists, and which of its objects the service holds already.
struct RefreshResult {
  std::string videoId;
  std::string slug;
  std::string shareURL;
  std::string putVideoURL;
  std::string putThumbURL;
  bool videoPresent = false;
  bool thumbPresent = false;
  std::optional<std::string> putCaptionsURL;
  std::optional<bool> captionsPresent;

  friend bool operator==(const RefreshResult&, const RefreshResult&) = default;
};

struct CompleteResult {
  std::string videoId;
  std::string slug;
  std::string status;

  bool isReady() const { return status == "ready"; }

  friend bool operator==(const CompleteResult&, const CompleteResult&) = default;
};

void from_json(const Json& json, UploadReservation& reservation);
void from_json(const Json& json, RefreshResult& result);
void from_json(const Json& json, CompleteResult& result);

}  // namespace quillant
