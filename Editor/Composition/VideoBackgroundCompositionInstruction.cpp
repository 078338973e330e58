#include "Editor/Composition/VideoBackgroundCompositionInstruction.h"

namespace quillant {

const VideoBackgroundCompositionInstruction& VideoBackgroundCompositionInstruction::of(
    PreparedEdit::SourceNumber number) const {
  const bool has = number < sourceInstructions.size() && sourceInstructions[number];
  return has ? *sourceInstructions[number] : *this;
}

VideoBackgroundCompositionInstruction::RequiredPictures
VideoBackgroundCompositionInstruction::requiredPictures(double outputTime) const {
  const auto& shown = of(edit->source(outputTime));
  RequiredPictures result{.sourceTrackID = shown.sourceTrackID,
                          .sourceTime = edit->sourceTime(shown.source, outputTime).value_or(outputTime)};
  if (!shown.facecamTrackID || !edit->cameraFullScreenAmount(outputTime) ||
      !edit->activeCameraSettings(shown.source, result.sourceTime))
    return result;
  if (const auto time = edit->cameraFrameTime(shown.source, outputTime)) {
    result.facecamTrackID = shown.facecamTrackID;
    result.facecamTime = *time;
  }
  return result;
}

}  // namespace quillant
