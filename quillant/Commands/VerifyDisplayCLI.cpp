#include "quillant/Commands/VerifyDisplayCLI.h"

#include <algorithm>
#include <fmt/format.h>
#include <limits>

#include "quillant/Commands/ReferencePicture.h"
#include "quillant/Commands/TrialRecording.h"

namespace quillant {

bool VerifyDisplayCLI::passes(const std::vector<std::string>& words) {
  const auto choice = displayChoice(words);
  const auto content = services_.screen->content();
  const auto& displays = content.displays;
  const auto chosen = wholeDisplay(choice, content);
  if (displays.size() < 2) throw Failure(ExitCode::noPermission, "verify-display needs two or more displays");

  // At the size of the recording, so that each can be laid upon its picture.
  std::vector<PixelBufferRef> references;
  for (const auto& display : displays)
    references.push_back(ReferencePicture::grab(*services_.screen, display.id, chosen.source()));
  const TrialRecording recording(services_, {.displayID = chosen.displayID, .telemetry = false});
  const auto picture = recording.firstPicture();

  double ofChosen = 0;
  double closestOther = std::numeric_limits<double>::infinity();
  for (std::size_t i = 0; i < displays.size(); ++i) {
    const double error = ReferencePicture::meanSquaredError(*picture, *references[i]);
    const bool isChosen = displays[i].id == chosen.displayID;
    tell(fmt::format("mean squared error {:.1f} to display {}{}", error, displays[i].id,
                     isChosen ? ", which was chosen" : ""));
    if (isChosen)
      ofChosen = error;
    else
      closestOther = std::min(closestOther, error);
  }
  return ofChosen < closestOther;
}

}  // namespace quillant
