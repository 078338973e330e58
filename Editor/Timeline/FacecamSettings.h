#pragma once

#include <string>
#include <string_view>

#include "Core/JSONForward.h"
#include "Core/RawTexts.h"

namespace quillant {

/// Where in the picture the camera's bubble sits.
enum class FacecamAnchor { topLeft, top, topRight, left, center, right, bottomLeft, bottom, bottomRight };

template <>
inline constexpr auto rawTexts<FacecamAnchor> = std::to_array<RawText<FacecamAnchor>>({
    {FacecamAnchor::topLeft, "top-left"},
    {FacecamAnchor::top, "top"},
    {FacecamAnchor::topRight, "top-right"},
    {FacecamAnchor::left, "left"},
    {FacecamAnchor::center, "center"},
    {FacecamAnchor::right, "right"},
    {FacecamAnchor::bottomLeft, "bottom-left"},
    {FacecamAnchor::bottom, "bottom"},
    {FacecamAnchor::bottomRight, "bottom-right"},
});

/// How the camera's bubble looks. Files hold what was asked for; `clamped` gives what is drawn.
struct FacecamSettings {
  bool enabled = true;
  std::string shape = "circle";
  double size = 22;          ///< Percent of the picture, 12...40.
  double cornerRadius = 24;  ///< 0...100
  double borderWidth = 4;    ///< 0...16
  std::string borderColor = "#FFFFFF";
  double margin = 4;  ///< 0...12
  std::string anchor = "bottom-right";

  /// These settings with every number in its range and every text in its canonical form.
  FacecamSettings clamped() const;
  /// Trimmed and in lower case; "circle" when nothing is left.
  static std::string normalizedShape(std::string_view shape);
  /// Trimmed; "#FFFFFF" when nothing is left.
  static std::string normalizedBorderColor(std::string_view color);

  friend bool operator==(const FacecamSettings&, const FacecamSettings&) = default;
};

void to_json(Json& json, const FacecamSettings& settings);
/// Every key is required; nothing is clamped.
void from_json(const Json& json, FacecamSettings& settings);

}  // namespace quillant
