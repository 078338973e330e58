#include "MediaKit/Pictures/BGRAScaler.h"

#include <libyuv/scale_argb.h>

namespace quillant {

void scaleBGRA(const PixelBuffer::Plane& source, int sourceWidth, int sourceHeight,
               const PixelBuffer::Plane& target, int width, int height, const PixelRect& clip) {
  // libyuv's ARGB is named by the order in a register: in memory it is B, G, R, A.
  libyuv::ARGBScaleClip(source.data, source.stride, sourceWidth, sourceHeight, target.data, target.stride,
                        width, height, clip.x, clip.y, clip.width, clip.height, libyuv::kFilterBox);
}

}  // namespace quillant
