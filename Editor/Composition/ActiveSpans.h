#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "Editor/Timeline/TimelineSpan.h"

namespace quillant {

/// Of spans that may overlap, the one that counts at a time: the last in the order of the list. Laid out once
/// so that a frame costs a search by halves. Immutable; any thread.
class ActiveSpans {
 public:
  /// An end of infinity never comes. Spans that end where they start, or before, count never.
  explicit ActiveSpans(std::span<const TimelineSpan> spans);

  /// An index of the list; none where no span shows. A span's end is outside it.
  std::optional<std::size_t> at(double time) const;

 private:
  /// From `start` to the next change, `active` is the one that counts.
  struct Change {
    double start;
    std::optional<std::size_t> active;
  };
  std::vector<Change> changes_;  ///< By start.
};

}  // namespace quillant
