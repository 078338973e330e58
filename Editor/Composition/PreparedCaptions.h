#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "Editor/Composition/ActiveSpans.h"
#include "Editor/Composition/CaptionRenderPlan.h"

namespace quillant {

/// The captions of an edit, made ready once so that a frame costs a search by halves and makes no string.
/// Immutable; any thread.
class PreparedCaptions {
 public:
  explicit PreparedCaptions(CaptionRenderPlan plan);

  /// What is read at a time.
  struct Shown {
    std::size_t block;                ///< Into the plan's blocks.
    std::optional<std::size_t> word;  ///< Of the block: the one that is being spoken, or was the last.
  };
  /// None where nothing shows. Of blocks that overlap the later one counts.
  std::optional<Shown> at(double outputTime) const;

  const CaptionRenderPlan& plan() const { return plan_; }
  /// Two blocks with one key look alike: what pictures of them are kept under.
  const std::string& key(std::size_t block) const { return keys_[block]; }

 private:
  CaptionRenderPlan plan_;
  ActiveSpans spans_;
  std::vector<std::string> keys_;  ///< One a block.
};

}  // namespace quillant
