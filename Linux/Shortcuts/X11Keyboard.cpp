#include "Linux/Shortcuts/X11Keyboard.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

namespace quillant {

namespace {

constexpr xcb_keysym_t functionKey1 = 0xffbe;
constexpr xcb_keysym_t numLock = 0xff7f;
constexpr xcb_keysym_t scrollLock = 0xff14;

struct NamedKey {
  std::string_view name;
  xcb_keysym_t symbol;
};
constexpr std::array namedKeys{
    NamedKey{"Space", 0x20},    NamedKey{"Print", 0xff61},  NamedKey{"Pause", 0xff13},
    NamedKey{"Insert", 0xff63}, NamedKey{"Delete", 0xffff}, NamedKey{"Home", 0xff50},
    NamedKey{"End", 0xff57},    NamedKey{"Up", 0xff52},     NamedKey{"Down", 0xff54},
    NamedKey{"Left", 0xff51},   NamedKey{"Right", 0xff53}};

/// The symbol that the key has without Shift; 0 if there is no such key.
xcb_keysym_t symbolOf(std::string_view key) {
  if (key.size() == 1) {
    const char character = key.front();
    return static_cast<xcb_keysym_t>(character >= 'A' && character <= 'Z' ? character - 'A' + 'a'
                                                                          : character);
  }
  const auto named = std::ranges::find(namedKeys, key, &NamedKey::name);
  if (named != namedKeys.end()) return named->symbol;
  unsigned number = 0;
  const bool isFunctionKey =
      key.starts_with('F') &&
      std::from_chars(key.data() + 1, key.data() + key.size(), number).ptr == key.data() + key.size();
  return isFunctionKey ? functionKey1 + number - 1 : 0;
}

}  // namespace

X11Keyboard::X11Keyboard(const X11Connection& x) {
  const auto* setup = xcb_get_setup(x.get());
  firstKey_ = setup->min_keycode;
  const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
  if (const auto mapping =
          x.wait(xcb_get_keyboard_mapping_reply, xcb_get_keyboard_mapping(x.get(), firstKey_, count))) {
    symbolsPerKey_ = mapping->keysyms_per_keycode;
    const auto* first = xcb_get_keyboard_mapping_keysyms(mapping.get());
    symbols_.assign(first, first + xcb_get_keyboard_mapping_keysyms_length(mapping.get()));
  }
  if (const auto mapping = x.wait(xcb_get_modifier_mapping_reply, xcb_get_modifier_mapping(x.get()))) {
    keysPerModifier_ = mapping->keycodes_per_modifier;
    const auto* first = xcb_get_modifier_mapping_keycodes(mapping.get());
    modifierKeys_.assign(first, first + xcb_get_modifier_mapping_keycodes_length(mapping.get()));
  }
}

std::vector<xcb_keycode_t> X11Keyboard::keys(const KeyboardShortcut& shortcut) const {
  const auto symbol = symbolOf(shortcut.key);
  return symbol == 0 ? std::vector<xcb_keycode_t>() : keysOf(symbol);
}

std::uint16_t X11Keyboard::modifiers(const KeyboardShortcut& shortcut) const {
  const auto orElse = [](std::uint16_t found, std::uint16_t usual) { return found != 0 ? found : usual; };
  unsigned mask = 0;
  if (shortcut.control) mask |= XCB_MOD_MASK_CONTROL;
  if (shortcut.shift) mask |= XCB_MOD_MASK_SHIFT;
  if (shortcut.alt) mask |= orElse(modifierOf({0xffe9, 0xffea, 0xffe7, 0xffe8}), XCB_MOD_MASK_1);
  if (shortcut.super) mask |= orElse(modifierOf({0xffeb, 0xffec}), XCB_MOD_MASK_4);
  return static_cast<std::uint16_t>(mask);
}

std::vector<std::uint16_t> X11Keyboard::locks() const {
  std::vector<std::uint16_t> result{0};
  for (const auto mask :
       {std::uint16_t{XCB_MOD_MASK_LOCK}, modifierOf({numLock}), modifierOf({scrollLock})}) {
    const auto count = result.size();
    for (std::size_t index = 0; index < count; ++index)
      if ((result[index] | mask) != result[index])
        result.push_back(static_cast<std::uint16_t>(result[index] | mask));
  }
  return result;
}

std::vector<xcb_keycode_t> X11Keyboard::keysOf(xcb_keysym_t symbol) const {
  std::vector<xcb_keycode_t> keys;
  for (std::size_t index = 0; index < symbols_.size(); ++index) {
    const auto key = static_cast<xcb_keycode_t>(firstKey_ + index / symbolsPerKey_);
    if (symbols_[index] == symbol && (keys.empty() || keys.back() != key)) keys.push_back(key);
  }
  return keys;
}

std::uint16_t X11Keyboard::modifierOf(std::initializer_list<xcb_keysym_t> symbols) const {
  for (const auto symbol : symbols)
    for (const auto key : keysOf(symbol))
      for (std::size_t index = 0; index < modifierKeys_.size(); ++index)
        if (modifierKeys_[index] == key) return static_cast<std::uint16_t>(1U << (index / keysPerModifier_));
  return 0;
}

}  // namespace quillant
