#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Editor/Composition/CaptionBlock.h"
#include "Editor/Composition/TimelineExportEditPlan.h"
#include "Editor/Timeline/TimelineEditSnapshot.h"

namespace quillant {

/// Groups the words that an edit still plays into what a viewer reads. Pure; any thread.
namespace CaptionLayout {

/// How words are divided into lines: into one where they have at most 42 characters, blanks included, and
/// otherwise into two as equal as they can be. Characters are those that a reader counts.
std::vector<CaptionIndexRange> lines(std::span<const std::string_view> words);

/// Every block of the edit's captions, sorted by start. Blocks of different transcripts may overlap.
std::vector<CaptionBlock> blocks(const TimelineEditSnapshot& edits, const TimelineExportEditPlan& plan);

/// The language, as BCP 47, that most words of the blocks are in; of equally many that of the earliest
/// transcript; "en-US" where there are none.
std::string language(std::span<const CaptionBlock> blocks, const TimelineCaptions& captions);

}  // namespace CaptionLayout
}  // namespace quillant
