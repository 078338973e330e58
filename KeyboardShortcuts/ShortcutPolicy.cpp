#include "KeyboardShortcuts/ShortcutPolicy.h"

#include <fmt/format.h>
#include <utility>

namespace quillant::ShortcutPolicy {

namespace {

constexpr std::size_t proposalCount = 3;

std::vector<KeyboardShortcut> candidates(const KeyboardShortcut& wanted) {
  std::vector<KeyboardShortcut> result{
      {.control = true, .shift = true, .key = wanted.key},
      {.control = true, .alt = true, .key = wanted.key},
      {.shift = true, .super = true, .key = wanted.key},
      {.control = true, .alt = true, .shift = true, .key = wanted.key},
      {.control = true, .super = true, .key = wanted.key},
  };
  for (const auto* key : {"F9", "F10", "Pause"})
    result.push_back({.control = true, .shift = true, .key = key});
  std::erase(result, wanted);
  return result;
}

std::string problem(const Outcome& outcome, const KeyboardShortcut& wanted) {
  if (outcome.registration == ShortcutRegistration::unavailable)
    return fmt::format("{} cannot be used here. Choose another shortcut.", wanted.label());
  std::string text = fmt::format("Another program uses {}.", wanted.label());
  if (outcome.proposals.empty()) return text + " Choose another shortcut.";
  text += outcome.proposals.size() == 1 ? " This one is free: " : " These are free: ";
  for (const auto& proposal : outcome.proposals)
    text += (&proposal == &outcome.proposals.front() ? "" : ", ") + proposal.label();
  return text + ".";
}

}  // namespace

Task<Outcome> use(GlobalShortcutRegistering& service, KeyboardShortcut wanted) {
  Outcome outcome;
  outcome.registration = co_await service.registerShortcut(wanted);
  if (outcome.registration == ShortcutRegistration::registered) co_return outcome;
  for (const auto& candidate : candidates(wanted)) {
    if (outcome.proposals.size() == proposalCount) break;
    const bool isFree = co_await service.isFree(candidate);
    if (isFree) outcome.proposals.push_back(candidate);
  }
  outcome.problem = problem(outcome, wanted);
  co_return outcome;
}

}  // namespace quillant::ShortcutPolicy
