#pragma once

#include "Editor/Project/RecordingSession.h"
#include "MediaKit/Reading/AssetProbe.h"

namespace quillant {

/// What lies beside a recording's video and belongs to it.
namespace RecordingSideFiles {

/// Looks for the files that `media` does not name, drops those that do not exist, and reads out of the
/// camera's file how much later it begins than the video, whose probe is `screen`, where `media` does not say
/// it. Blocking; a camera's file that cannot be read tells nothing.
RecordingHandoffFields found(RecordingHandoffFields media, const MediaAsset& screen);

}  // namespace RecordingSideFiles
}  // namespace quillant
