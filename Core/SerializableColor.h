#pragma once

#include <string_view>

#include "Core/JSONForward.h"

namespace quillant {

/// A colour in sRGB as documents keep it: components from 0 to 1, not premultiplied by alpha.
struct SerializableColor {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;

  /// "#276FAA", "276faa" or what stands around it in white space. The text counts up to its first character
  /// that is no hexadecimal digit: nothing is an error, and a text without digits is black.
  static SerializableColor fromHex(std::string_view hex, double alpha = 1);

  friend bool operator==(const SerializableColor&, const SerializableColor&) = default;
};

void to_json(Json& json, const SerializableColor& color);
void from_json(const Json& json, SerializableColor& color);

}  // namespace quillant
