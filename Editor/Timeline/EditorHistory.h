#pragma once

#include <deque>
#include <optional>
#include <utility>

namespace quillant {

/// The states that undo and redo lead to, without limit. It keeps whole states, so a state should share what
/// it has in common with others. Deques, so that no edit waits for the history to be moved as it grows.
template <class State>
struct EditorHistory {
  std::deque<State> undoStack;  ///< The last one is the next to go back to.
  std::deque<State> redoStack;
  std::optional<State> transactionStart;  ///< While it is set, no change is recorded.

  bool canUndo() const { return !undoStack.empty(); }
  bool canRedo() const { return !redoStack.empty(); }

  /// Remembers the state that a change began from. What was undone before is forgotten.
  void recordChange(State from) {
    if (transactionStart) return;
    undoStack.push_back(std::move(from));
    redoStack.clear();
  }

  /// The state to take the place of `current`; none when there is nothing to undo.
  std::optional<State> undo(State current) { return step(undoStack, redoStack, std::move(current)); }
  std::optional<State> redo(State current) { return step(redoStack, undoStack, std::move(current)); }

 private:
  std::optional<State> step(std::deque<State>& from, std::deque<State>& to, State current) {
    if (from.empty()) return std::nullopt;
    transactionStart.reset();
    to.push_back(std::move(current));
    auto state = std::move(from.back());
    from.pop_back();
    return state;
  }
};

}  // namespace quillant
