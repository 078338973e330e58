#include "CaptureEngine/OutputDimensions.h"

#include <algorithm>
#include <cmath>

namespace quillant {

namespace {

constexpr double boxWidth = 1920;
constexpr double boxHeight = 1080;

int evenDown(double value) {
  constexpr double hair = 1e-6;
  constexpr double largest = 1 << 24;  // keeps absurd sources inside an int; no display comes near
  const double pairs = std::floor((std::min(value, largest) + hair) / 2);
  return pairs >= 1 ? static_cast<int>(pairs) * 2 : 2;
}

}  // namespace

double outputScale(CaptureResolution resolution, double sourceWidth, double sourceHeight) {
  double scale = 1;
  if (resolution == CaptureResolution::native) return scale;
  if (sourceWidth > 1) scale = std::min(scale, boxWidth / sourceWidth);
  if (sourceHeight > 1) scale = std::min(scale, boxHeight / sourceHeight);
  return scale;
}

OutputDimensions outputDimensions(CaptureResolution resolution, double sourceWidth, double sourceHeight) {
  const double scale = outputScale(resolution, sourceWidth, sourceHeight);
  return {evenDown(sourceWidth * scale), evenDown(sourceHeight * scale)};
}

}  // namespace quillant
