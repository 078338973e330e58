#pragma once

#include <filesystem>
#include <functional>

#include "MediaKit/Writing/MediaSettings.h"

namespace quillant {

/// A movie copied into another file as it is: every packet of every picture and sound track, with no
/// decoding.
namespace StreamCopy {

/// Takes how much is copied, 0 to 1, and returns whether to go on.
using Progress = std::function<bool(double)>;

/// Whether the container can hold every picture and sound track. Blocking. Throws what `AssetProbe` throws.
bool canCopy(const std::filesystem::path& source, MediaContainer container);

/// The copy has its index in front and appears under its name when it is whole. False if `progress` ended it:
/// then nothing is there that was not before. Blocking. Throws what `AssetProbe` throws for the source,
/// `FileError` for the target, and `MediaError` of kind codec if the container cannot hold a track.
bool copy(const std::filesystem::path& source, const std::filesystem::path& target, MediaContainer container,
          const Progress& progress);

}  // namespace StreamCopy
}  // namespace quillant
