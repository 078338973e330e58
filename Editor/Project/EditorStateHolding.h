#pragma once

#include "Editor/Project/ProjectEditorState.h"

namespace quillant {

/// What the store and autosave ask of the open recording. Main thread.
class EditorStateHolding {
 public:
  virtual ~EditorStateHolding() = default;
  virtual ProjectEditorState exportEditorState() const = 0;
  virtual void applyEditorState(const ProjectEditorState& state) = 0;
};

}  // namespace quillant
