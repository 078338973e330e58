#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Editor/Captions/TranscriptDocument.h"

namespace quillant {

/// What a reader has selected of a transcript: two items, as `transcriptItemID` names them, and everything
/// between them. A drag makes one from the item where it began to the one under the pointer. It holds while
/// both items are in the document.
struct TranscriptSelection {
  std::string anchor;  ///< Where it began.
  std::string head;    ///< Where it has got to, before the anchor or behind it.

  enum class Extends { no, yes };
  /// After a click on `item`: that item or, where the click extends, what is between it and the anchor of
  /// the selection before.
  static TranscriptSelection afterClick(const std::optional<TranscriptSelection>& before, std::string item,
                                        Extends extends);

  friend bool operator==(const TranscriptSelection&, const TranscriptSelection&) = default;
};

namespace TranscriptDocument {

/// What a selection holds that is heard.
struct SelectedSpeech {
  TimelineSpan span;                               ///< Output seconds.
  std::vector<const TranscriptParagraph*> voices;  ///< Whose words they are; none where it is but a pause.
};
/// None where it holds nothing, or an item of it is gone.
std::optional<SelectedSpeech> selected(const Document& document, const TranscriptSelection& selection);

/// What deleting a selection takes out, as `cut` above. A pause that is selected by itself keeps its breath
/// on both sides.
std::optional<Cut> cut(const Document& document, const TranscriptSelection& selection, double videoEnd);

}  // namespace TranscriptDocument
}  // namespace quillant
