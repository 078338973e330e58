#pragma once

#include <string>
#include <vector>

#include "Core/Task.h"
#include "KeyboardShortcuts/GlobalShortcutRegistering.h"
#include "KeyboardShortcuts/KeyboardShortcut.h"

/// What is done when a shortcut cannot be had.
namespace quillant::ShortcutPolicy {

struct Outcome {
  ShortcutRegistration registration = ShortcutRegistration::registered;
  std::string problem;                      ///< In words for the user; empty once it is registered.
  std::vector<KeyboardShortcut> proposals;  ///< Free ones in its place, the most alike first.
};

/// Registers `wanted`, or looks for a few that are free: the same key with other modifiers, and then others.
/// The service outlives the task.
Task<Outcome> use(GlobalShortcutRegistering& service, KeyboardShortcut wanted);

}  // namespace quillant::ShortcutPolicy
