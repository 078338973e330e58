#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <utility>
#include <vector>

#include "Core/CopyOnWrite.h"

namespace quillant {

/// A long list of which an edit changes little: a copy costs one reference, and a copy that differs in a few
/// elements shares all the others. Reads like a const container; `replace` is the one way to write.
///
/// Copies are values apart and may be used on different threads. References to elements and iterators end
/// when this value is written, assigned or destroyed.
template <class Element>
class ChunkedVector {
  struct Chunk {
    std::size_t start = 0;                ///< How many elements are in the chunks before it.
    CopyOnWriteVector<Element> elements;  ///< Never empty.

    friend bool operator==(const Chunk&, const Chunk&) = default;
  };

 public:
  using value_type = Element;

  class const_iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Element;
    using difference_type = std::ptrdiff_t;
    using pointer = const Element*;
    using reference = const Element&;

    const_iterator() = default;
    explicit const_iterator(const Chunk* chunk) : chunk_(chunk) {}

    reference operator*() const { return chunk_->elements[offset_]; }
    pointer operator->() const { return &**this; }
    const_iterator& operator++() {
      if (++offset_ == chunk_->elements.size()) *this = const_iterator(chunk_ + 1);
      return *this;
    }
    const_iterator operator++(int) { return std::exchange(*this, std::next(*this)); }

    friend bool operator==(const const_iterator&, const const_iterator&) = default;

   private:
    const Chunk* chunk_ = nullptr;
    std::size_t offset_ = 0;
  };

  ChunkedVector() = default;
  ChunkedVector(std::vector<Element> elements) : chunks_(chunked(std::move(elements))) {}
  ChunkedVector(std::initializer_list<Element> elements) : ChunkedVector(std::vector<Element>(elements)) {}

  const_iterator begin() const { return const_iterator(chunks_->data()); }
  const_iterator end() const { return const_iterator(chunks_->data() + chunks_.size()); }
  std::size_t size() const { return empty() ? 0 : chunks_.back().start + chunks_.back().elements.size(); }
  bool empty() const { return chunks_.empty(); }
  /// Takes the logarithm of the number of chunks: to walk, iterate.
  const Element& operator[](std::size_t index) const {
    const auto& chunk = chunks_[chunkOf(index)];
    return chunk.elements[index - chunk.start];
  }

  /// Puts `elements` in the place of the `count` elements from `first` on, all of which there must be.
  void replace(std::size_t first, std::size_t count, std::vector<Element> elements) {
    if (empty()) {
      *this = ChunkedVector(std::move(elements));
      return;
    }
    const auto from = chunkOf(first);
    const auto to = chunkOf(first + std::max<std::size_t>(count, 1) - 1);
    const auto& head = chunks_[from];
    const auto& tail = chunks_[to];
    const auto at = [](const Chunk& chunk, std::size_t index) {
      return chunk.elements.begin() + static_cast<std::ptrdiff_t>(index - chunk.start);
    };
    elements.insert(elements.begin(), head.elements.begin(), at(head, first));
    elements.insert(elements.end(), at(tail, first + count), tail.elements.end());

    auto between = chunked(std::move(elements));
    auto& chunks = chunks_.mutate();
    const auto place = chunks.begin() + static_cast<std::ptrdiff_t>(from);
    chunks.insert(chunks.erase(place, chunks.begin() + static_cast<std::ptrdiff_t>(to) + 1),
                  std::make_move_iterator(between.begin()), std::make_move_iterator(between.end()));
    for (auto i = from; i < chunks.size(); ++i)
      chunks[i].start = i == 0 ? 0 : chunks[i - 1].start + chunks[i - 1].elements.size();
  }

  friend bool operator==(const ChunkedVector& left, const ChunkedVector& right) {
    // Alike in their chunks, shared ones need no look. Else the same elements may be divided differently.
    if (std::ranges::equal(left.chunks_, right.chunks_, {}, &Chunk::start, &Chunk::start))
      return left.chunks_ == right.chunks_;
    return left.size() == right.size() && std::ranges::equal(left, right);
  }

 private:
  /// A write copies one chunk and one reference to each other: for lists of thousands, a few kilobytes.
  static constexpr std::size_t largestChunk = 64;

  /// Chunks of equal size, so that one that is full divides in the middle when it grows.
  static std::vector<Chunk> chunked(std::vector<Element> elements) {
    const auto count = (elements.size() + largestChunk - 1) / largestChunk;
    std::vector<Chunk> chunks;
    chunks.reserve(count);
    const auto at = [&](std::size_t chunk) {
      const auto start = elements.size() * chunk / count;
      return std::make_move_iterator(elements.begin() + static_cast<std::ptrdiff_t>(start));
    };
    for (std::size_t i = 0; i < count; ++i)
      chunks.push_back({elements.size() * i / count, std::vector<Element>(at(i), at(i + 1))});
    return chunks;
  }

  /// The chunk that holds the element; the last one for what is behind the last element.
  std::size_t chunkOf(std::size_t index) const {
    const auto after = std::ranges::upper_bound(chunks_, index, std::less<>(), &Chunk::start);
    return static_cast<std::size_t>(after - chunks_.begin()) - 1;
  }

  CopyOnWriteVector<Chunk> chunks_;
};

}  // namespace quillant
