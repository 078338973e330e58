#include "Editor/Project/CursorStyleRegistry.h"

#include <algorithm>

namespace quillant::CursorStyleRegistry {

const std::vector<CursorStyleDefinition>& styles() {
  const auto white = [](double alpha) { return SerializableColor::fromHex("#FFFFFF", alpha); };
  const auto black = [](double alpha) { return SerializableColor::fromHex("#000000", alpha); };
  using enum CursorStyleCategory;
  using enum CursorRenderKind;
  static const std::vector<CursorStyleDefinition> table{
      {.id = "system.white",
       .title = "System White",
       .category = system,
       .renderKind = arrow,
       .fill = white(1),
       .stroke = black(0.62),
       .shadow = black(0.16),
       .hotspot = CursorHotspotTopLeft{},
       .defaultScale = 1.0,
       .supportsRecordedTypeOverride = true},
      {.id = "system.black",
       .title = "System Black",
       .category = system,
       .renderKind = arrow,
       .fill = SerializableColor::fromHex("#1F2023"),
       .stroke = white(1),
       .shadow = black(0.14),
       .hotspot = CursorHotspotTopLeft{},
       .defaultScale = 1.0,
       .supportsRecordedTypeOverride = true},
      {.id = "system.hand",
       .title = "Hand",
       .category = system,
       .renderKind = hand,
       .fill = white(1),
       .stroke = black(0.62),
       .shadow = black(0.16),
       .hotspot = CursorHotspotProportional{.x = 0.54, .y = 0},
       .defaultScale = 1.0},
      {.id = "system.ibeam",
       .title = "I-Beam",
       .category = system,
       .renderKind = iBeam,
       .fill = white(1),
       .stroke = black(0.56),
       .shadow = black(0.12),
       .hotspot = CursorHotspotCenter{},
       .defaultScale = 1.0},
      {.id = "touch.dot",
       .title = "Touch Dot",
       .category = touch,
       .renderKind = dot,
       .fill = white(1),
       .stroke = black(0.54),
       .shadow = black(0.14),
       .hotspot = CursorHotspotCenter{},
       .defaultScale = 1.08},
      {.id = "highlight.ring",
       .title = "Highlight Ring",
       .category = emphasis,
       .renderKind = ring,
       .stroke = white(0.92),
       .shadow = black(0.34),
       .hotspot = CursorHotspotCenter{},
       .defaultScale = 1.55},
      {.id = "spotlight",
       .title = "Spotlight",
       .category = emphasis,
       .renderKind = spotlight,
       .fill = white(0.2),
       .stroke = white(0.84),
       .shadow = black(0.38),
       .hotspot = CursorHotspotCenter{},
       .defaultScale = 1.85},
  };
  return table;
}

const CursorStyleDefinition* definition(std::string_view id) {
  const auto& table = styles();
  const auto found = std::ranges::find(table, id, &CursorStyleDefinition::id);
  return found == table.end() ? nullptr : &*found;
}

}  // namespace quillant::CursorStyleRegistry
