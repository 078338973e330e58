#include "quillant/Commands/VerifyAreaCLI.h"

#include <algorithm>
#include <fmt/format.h>

#include "CaptureEngine/AreaCaptureMapper.h"
#include "quillant/Commands/ReferencePicture.h"
#include "quillant/Commands/TrialRecording.h"

namespace quillant {

namespace {

/// A third of a picture each way, to the lower left: mirrored it shares no pixel with itself.
PixelRect lowerLeft(const PixelBuffer& picture) {
  const auto part = [](int side, int of) { return side / of / 2 * 2; };
  const PixelRect rect{part(picture.width, 8), 0, part(picture.width, 3), part(picture.height, 3)};
  return {rect.x, picture.height - part(picture.height, 8) - rect.height, rect.width, rect.height};
}

/// The same pixels as a user would draw them on the display.
Rect drawn(const PixelRect& pixels, double scale) {
  return {pixels.x / scale, pixels.y / scale, pixels.width / scale, pixels.height / scale};
}

}  // namespace

bool VerifyAreaCLI::passes(const std::vector<std::string>& words) {
  const auto choice = displayChoice(words);
  const auto content = services_.screen->content();
  const auto& displays = content.displays;
  const auto whole = wholeDisplay(choice, content);
  const auto display = *std::ranges::find(displays, whole.displayID, &DisplayInfo::id);
  const auto reference = ReferencePicture::grab(*services_.screen, display.id, whole.source());
  const auto chosen = lowerLeft(*reference);
  auto wrong = chosen;
  wrong.y = reference->height - chosen.y - chosen.height;

  const TrialRecording recording(
      services_, {.displayID = display.id,
                  .area = AreaCaptureMapper::area(drawn(chosen, display.scale), display.id, displays),
                  .telemetry = false});
  const auto picture = recording.firstPicture();
  tell(fmt::format("recorded {}x{} of {}x{} pixels", picture->width, picture->height, chosen.width,
                   chosen.height));
  if (picture->width != chosen.width || picture->height != chosen.height) return false;
  const auto errorTo = [&](const PixelRect& part) {
    return ReferencePicture::meanSquaredError(*picture, *ReferencePicture::crop(reference, part));
  };
  const double ofChosen = errorTo(chosen);
  const double ofWrong = errorTo(wrong);
  tell(fmt::format("mean squared error {:.1f} to the area, {:.1f} to a wrong one", ofChosen, ofWrong));
  return ofChosen < ofWrong;
}

}  // namespace quillant
