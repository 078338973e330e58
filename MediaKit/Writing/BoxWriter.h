#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "MediaKit/Reading/MovieBoxes.h"

namespace quillant {

/// Builds boxes inside boxes; their sizes are filled in when they end.
class BoxWriter {
 public:
  template <class Content>
  void box(std::uint32_t boxType, Content&& content) {
    const auto start = bytes_.size();
    u32(0);
    u32(boxType);
    content();
    const auto size = static_cast<std::uint32_t>(bytes_.size() - start);
    for (std::size_t i = 0; i < 4; ++i) bytes_[start + i] = static_cast<std::uint8_t>(size >> (24 - 8 * i));
  }
  void u32(std::uint32_t value) { number(value, 4); }
  void u64(std::uint64_t value) { number(value, 8); }
  void copy(MovieBoxes::Bytes bytes) { bytes_.insert(bytes_.end(), bytes.begin(), bytes.end()); }
  std::vector<std::uint8_t> take() { return std::move(bytes_); }

 private:
  void number(std::uint64_t value, int count) {
    for (int i = count - 1; i >= 0; --i) bytes_.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
  }
  std::vector<std::uint8_t> bytes_;
};

}  // namespace quillant
