#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillant::CameraDevices {

struct Info {
  std::string id;    ///< As the device library opens it: "v4l2:/dev/video0".
  std::string name;  ///< For people.
  friend bool operator==(const Info&, const Info&) = default;
};

/// The cameras of this machine, or the one that QUILLANT_CAMERA names in their place.
std::vector<Info> available();

/// The preferred device if it is there, else the first. Nothing if there is none.
std::optional<Info> resolve(const std::vector<Info>& devices, const std::optional<std::string>& preferredID);

}  // namespace quillant::CameraDevices
