#include "KeyboardShortcuts/KeyboardShortcut.h"

#include <algorithm>
#include <array>

#include "Core/Text.h"

namespace quillant {

namespace {

constexpr std::array<std::string_view, 11> namedKeys{"Space", "Print", "Pause", "Insert", "Delete", "Home",
                                                     "End",   "Up",    "Down",  "Left",   "Right"};
constexpr int functionKeys = 24;

struct Modifier {
  std::string_view name;
  bool KeyboardShortcut::*flag;
};
constexpr std::array modifiers{
    Modifier{"Ctrl", &KeyboardShortcut::control}, Modifier{"Alt", &KeyboardShortcut::alt},
    Modifier{"Shift", &KeyboardShortcut::shift}, Modifier{"Super", &KeyboardShortcut::super}};

bool equalWithoutCase(std::string_view first, std::string_view second) {
  return Text::lowercased(first) == Text::lowercased(second);
}

/// Neither types nor moves anything in a text.
bool isFreeKey(std::string_view name) {
  return (name.size() > 1 && name.front() == 'F') || name == "Print" || name == "Pause";
}

/// As it is written in a label; empty if there is no such key.
std::string canonicalKey(std::string_view word) {
  if (word.size() == 1) {
    const bool isLower = word[0] >= 'a' && word[0] <= 'z';
    const char character = isLower ? static_cast<char>(word[0] - 'a' + 'A') : word[0];
    const bool known = (character >= 'A' && character <= 'Z') || (character >= '0' && character <= '9');
    return known ? std::string(1, character) : std::string();
  }
  for (int number = 1; number <= functionKeys; ++number)
    if (const auto name = "F" + std::to_string(number); equalWithoutCase(word, name)) return name;
  for (const auto name : namedKeys)
    if (equalWithoutCase(word, name)) return std::string(name);
  return {};
}

}  // namespace

std::string KeyboardShortcut::label() const {
  std::string text;
  for (const auto& modifier : modifiers)
    if (this->*modifier.flag) text.append(modifier.name).append("+");
  return text + key;
}

std::optional<KeyboardShortcut> KeyboardShortcut::parse(std::string_view label) {
  KeyboardShortcut result;
  for (auto plus = label.find('+'); plus != std::string_view::npos; plus = label.find('+')) {
    const auto word = label.substr(0, plus);
    const auto modifier = std::ranges::find_if(
        modifiers, [&](const Modifier& candidate) { return equalWithoutCase(candidate.name, word); });
    if (modifier == modifiers.end()) return std::nullopt;
    result.*modifier->flag = true;
    label.remove_prefix(plus + 1);
  }
  result.key = canonicalKey(label);
  return result.isUsable() ? std::optional(std::move(result)) : std::nullopt;
}

KeyboardShortcut KeyboardShortcut::chosen(const std::optional<std::string>& label) {
  const auto parsed = label ? parse(*label) : std::nullopt;
  return parsed.value_or(standard());
}

bool KeyboardShortcut::isKey(std::string_view name) {
  return !name.empty() && canonicalKey(name) == name;
}

bool KeyboardShortcut::isUsable() const {
  return isKey(key) && (control || alt || super || isFreeKey(key));
}

}  // namespace quillant
