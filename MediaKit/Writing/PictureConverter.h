#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "MediaKit/Writing/EncoderPicture.h"

namespace quillant {

/// Makes a source's pictures into the encoder's. What the source says has not changed is not converted again:
/// it is there already, or is copied from the newest picture when that one still waits to be encoded.
///
/// Belongs to one thread. Pictures may be released on any thread and outlive the converter; their memory is
/// used again. There are never more of them than were held at once, and one.
class PictureConverter {
 public:
  PictureConverter(int width, int height);

  struct Result {
    EncoderPictureRef picture;
    std::uint64_t pixelsConverted = 0;
  };
  /// `buffer` has the size of this converter's pictures; it is not needed any more afterwards.
  Result convert(const PixelBuffer& buffer);

 private:
  struct Slot : EncoderPicture {
    Slot(int width, int height, std::size_t blocks);
    std::vector<std::uint8_t> memory;
    std::vector<std::uint8_t> stale;  ///< 1 for the blocks that differ from the newest picture.
    std::atomic<bool> isHeld = false;
  };

  Slot& acquire();
  void takeRect(const PixelBuffer& buffer, PixelRect area, Slot& to) const;
  void markBlocks(PixelRect area, Slot& slot) const;
  void bringUpToDate(Slot& slot) const;

  int width_;
  int height_;
  int blockColumns_;
  int blockRows_;
  std::vector<std::shared_ptr<Slot>> slots_;
  std::shared_ptr<Slot> newest_;
  std::uint64_t sequence_ = 0;
};

}  // namespace quillant
