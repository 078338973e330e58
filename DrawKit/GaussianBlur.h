#pragma once

#include <span>

/// The soft edge of shadows.
namespace quillant::GaussianBlur {

/// Blurs `plane`, rows of `width` values each, by a standard deviation of `sigma` pixels; 0 is all around it.
/// The cost a pixel is the same for every `sigma`. Below 0 or not finite, it is 0: nothing changes.
void blur(std::span<float> plane, int width, double sigma);

}  // namespace quillant::GaussianBlur
