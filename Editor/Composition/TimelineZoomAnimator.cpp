#include "Editor/Composition/TimelineZoomAnimator.h"

#include <algorithm>

namespace quillant::TimelineZoomAnimator {

double eased(TimelineZoomEasing easing, double progress) {
  const double p = std::clamp(progress, 0.0, 1.0);
  const auto cubed = [](double x) { return x * x * x; };
  switch (easing) {
    case TimelineZoomEasing::smoothstep:
      return p * p * (3 - 2 * p);
    case TimelineZoomEasing::easeOut:
      return 1 - cubed(1 - p);
    case TimelineZoomEasing::easeInOut:
      break;
  }
  return p < 0.5 ? 4 * cubed(p) : 1 - 0.5 * cubed(2 - 2 * p);
}

double rampLength(double wanted, double spanLength) {
  return std::min(std::max(spanLength, 0.0) * 0.4, wanted);
}

double animationProgress(TimelineSpan span, const TimelineZoomAnimationConfiguration& configuration,
                         double time) {
  if (!(span.length() > 0) || time < span.start || time >= span.end) return 0;
  const double in = rampLength(configuration.easeIn, span.length());
  const double out = rampLength(configuration.easeOut, span.length());
  if (in > 0 && time < span.start + in) return eased(configuration.easing, (time - span.start) / in);
  if (out > 0 && time > span.end - out) return eased(configuration.easing, (span.end - time) / out);
  return 1;
}

}  // namespace quillant::TimelineZoomAnimator
