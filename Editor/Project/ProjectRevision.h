#pragma once

#include <cstdint>
#include <string_view>

#include "Core/JSONForward.h"
#include "Editor/Project/ProjectDocument.h"

namespace quillant {

/// Which state of a document was read. A write names the one that it started from, and is refused if another
/// is stored by then. Equal contents have equal revisions, whoever wrote them and when.
struct ProjectRevision {
  std::uint64_t document = 0;     ///< Of all of it.
  std::uint64_t editorState = 0;  ///< Of the edit alone: a link or a title that changes does not touch it.

  /// Of a document as it is stored.
  static ProjectRevision of(const Json& document);
  friend bool operator==(const ProjectRevision&, const ProjectRevision&) = default;
};

struct StoredProject {
  ProjectDocument document;
  ProjectRevision revision;
};

}  // namespace quillant
