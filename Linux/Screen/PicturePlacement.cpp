#include "Linux/Screen/PicturePlacement.h"

#include <algorithm>
#include <cmath>

#include "Core/PixelRects.h"

namespace quillant {

namespace {

bool isCut(int source, int output) {
  return source == output || source == output + 1;
}

}  // namespace

bool PicturePlacement::isScaled() const {
  return !isCut(sourceWidth, width) || !isCut(sourceHeight, height);
}

PicturePlacement PicturePlacement::filling(int sourceWidth, int sourceHeight, int outputWidth,
                                           int outputHeight) {
  const double scale = std::min(static_cast<double>(outputWidth) / sourceWidth,
                                static_cast<double>(outputHeight) / sourceHeight);
  const double spareWidth = outputWidth - sourceWidth * scale;
  const double spareHeight = outputHeight - sourceHeight * scale;
  if (spareWidth < 2 && spareHeight < 2) return {sourceWidth, sourceHeight, outputWidth, outputHeight};
  return {sourceWidth, sourceHeight, std::max(1, outputWidth - static_cast<int>(spareWidth)),
          std::max(1, outputHeight - static_cast<int>(spareHeight))};
}

PicturePlacement PicturePlacement::forSource(int otherWidth, int otherHeight) const {
  const double scaleX = isScaled() ? static_cast<double>(width) / sourceWidth : 1;
  const double scaleY = isScaled() ? static_cast<double>(height) / sourceHeight : 1;
  double shrink = std::min({1.0, width / (otherWidth * scaleX), height / (otherHeight * scaleY)});
  if (otherWidth * scaleX - width < 2 && otherHeight * scaleY - height < 2) shrink = 1;
  const auto placed = [&](int size, double scale, int limit) {
    return std::clamp(static_cast<int>(std::lround(size * scale * shrink)), 1, limit);
  };
  return {otherWidth, otherHeight, placed(otherWidth, scaleX, width), placed(otherHeight, scaleY, height)};
}

PixelRect PicturePlacement::delivered(const PixelRect& rect) const {
  const double scaleX = static_cast<double>(width) / sourceWidth;
  const double scaleY = static_cast<double>(height) / sourceHeight;
  constexpr int margin = 1;  // what a resampled pixel's neighbours may have of it
  const int left = static_cast<int>(std::floor((rect.x - margin) * scaleX)) & ~1;
  const int top = static_cast<int>(std::floor((rect.y - margin) * scaleY)) & ~1;
  const int right = (static_cast<int>(std::ceil((rect.x + rect.width + margin) * scaleX)) + 1) & ~1;
  const int bottom = (static_cast<int>(std::ceil((rect.y + rect.height + margin) * scaleY)) + 1) & ~1;
  return PixelRects::intersection({left, top, right - left, bottom - top}, {0, 0, width, height});
}

}  // namespace quillant
