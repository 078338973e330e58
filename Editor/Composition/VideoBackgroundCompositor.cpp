#include "Editor/Composition/VideoBackgroundCompositor.h"

#include <cassert>
#include <cmath>
#include <new>

#include "DrawKit/DrawingError.h"
#include "Editor/Composition/VideoCompositorError.h"

namespace quillant {

VideoBackgroundCompositor::VideoBackgroundCompositor(const Options& options)
    : composer_(options.wallpapers), pool_(options.threads), keptBytes_(options.keptBytes) {}

PixelBufferRef VideoBackgroundCompositor::startRequest(const Request& request) {
  return renderingQueue_.sync([&] { return composeFrame(request); });
}

void VideoBackgroundCompositor::cancelAllPendingVideoCompositionRequests() {
  renderingQueue_.sync([] {});
}

PixelBufferRef VideoBackgroundCompositor::composeFrame(const Request& request) {
  assert(renderingQueue_.isCurrent());
  using Kind = VideoCompositorError::Kind;
  try {
    const auto images = composer_.compose(request.instruction, request.time, request.frames);
    return rendererFor(request.instruction->renderSize).render(images);
  } catch (const DrawingError& error) {
    throw VideoCompositorError(error.kind == DrawingError::Kind::size ? Kind::renderBufferUnavailable
                                                                      : Kind::renderFailed);
  } catch (const std::bad_alloc&) {
    throw VideoCompositorError(Kind::renderBufferUnavailable);
  }
}

Renderer& VideoBackgroundCompositor::rendererFor(const Size& size) {
  if (!renderer_ || size != rendererSize_) {
    // Before the new one takes its memory.
    renderer_.reset();
    // A size that is no size stays one that is refused.
    const auto side = [](double length) {
      return length >= 0 && length <= Renderer::longestSide ? static_cast<int>(std::lround(length)) : 0;
    };
    renderer_.emplace(Renderer::Options{side(size.width), side(size.height), keptBytes_}, pool_);
    rendererSize_ = size;
  }
  return *renderer_;
}

}  // namespace quillant
