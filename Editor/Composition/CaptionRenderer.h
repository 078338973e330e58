#pragma once

#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>

#include "Core/Geometry.h"
#include "DrawKit/Image.h"
#include "Editor/Composition/PreparedCaptions.h"
#include "Editor/Composition/RecentlyUsed.h"

namespace quillant {

/// Draws burned-in captions, once for each word that is picked out, and keeps the last of them. Any thread;
/// the lock is not held while drawing, so that two threads may draw the same at once, which is harmless.
class CaptionRenderer {
 public:
  /// What every compositor of the process shares.
  static CaptionRenderer& shared();

  /// The caption that is read at an output time, at its place on a canvas of `renderSize` pixels; none where
  /// nothing is read, for a canvas without a size, and where the drawing failed. Characters that no font has
  /// are left out, and the log names each of them once.
  std::optional<Image> image(const PreparedCaptions& captions, double outputTime, const Size& renderSize);

 private:
  /// A caption as it is read during one of its words.
  struct Entry {
    std::string block;  ///< `PreparedCaptions::key`
    std::optional<std::size_t> word;
    Size canvas;
    Image image;
  };

  void tell(const std::string& unwritten);

  std::mutex lock_;
  /// One for each thread that may draw a caption of its own, and some to spare. At 2160p a caption of two
  /// lines takes some 6 MB.
  RecentlyUsed<Entry> drawn_{std::thread::hardware_concurrency() + 4};
  std::set<std::string, std::less<>> told_;  ///< Characters that the log has named.
};

}  // namespace quillant
