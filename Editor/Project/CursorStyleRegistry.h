#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Core/SerializableColor.h"

namespace quillant {

enum class CursorStyleCategory { system, touch, emphasis };

/// The shape of a cursor's glyph.
enum class CursorRenderKind { arrow, hand, iBeam, dot, ring, spotlight };

// Which point of a glyph's canvas lies on the recorded position.
struct CursorHotspotTopLeft {
  friend bool operator==(const CursorHotspotTopLeft&, const CursorHotspotTopLeft&) = default;
};
struct CursorHotspotCenter {
  friend bool operator==(const CursorHotspotCenter&, const CursorHotspotCenter&) = default;
};
struct CursorHotspotProportional {
  double x = 0;  ///< Fractions of the canvas, origin top left.
  double y = 0;
  friend bool operator==(const CursorHotspotProportional&, const CursorHotspotProportional&) = default;
};
using CursorHotspotRule = std::variant<CursorHotspotTopLeft, CursorHotspotCenter, CursorHotspotProportional>;

/// One way to draw the cursor. Documents hold only its id.
struct CursorStyleDefinition {
  std::string id;
  std::string title;
  CursorStyleCategory category = CursorStyleCategory::system;
  CursorRenderKind renderKind = CursorRenderKind::arrow;
  std::optional<SerializableColor> fill;  ///< Absent: only the outline is drawn.
  SerializableColor stroke;
  SerializableColor shadow;
  CursorHotspotRule hotspot;
  double defaultScale = 1;
  bool supportsRecordedTypeOverride = false;  ///< Whether a recorded cursor type may replace the glyph.
  friend bool operator==(const CursorStyleDefinition&, const CursorStyleDefinition&) = default;
};

/// Every cursor style there is. Safe on any thread.
namespace CursorStyleRegistry {

/// What an id that is not in the table is drawn as.
inline constexpr std::string_view fallbackID = "system.white";

const std::vector<CursorStyleDefinition>& styles();
/// The style of that id, or null.
const CursorStyleDefinition* definition(std::string_view id);

}  // namespace CursorStyleRegistry
}  // namespace quillant
