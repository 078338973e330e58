#include "Editor/Project/FileNames.h"

#include "Core/Text.h"

namespace quillant::FileNames {

namespace {

constexpr std::size_t longest = 100;

bool isContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

}  // namespace

bool isPlain(std::string_view name) {
  return !name.empty() && name != "." && name != ".." && name.size() <= 255 &&
         name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

std::string fromTitle(std::string_view title) {
  std::string name(Text::trimmed(title));
  for (auto& c : name)
    if (static_cast<unsigned char>(c) < 0x20 || c == '/' || c == '\\' || c == ':') c = '-';
  if (name.size() > longest) {
    auto end = longest;
    while (end > 0 && isContinuation(name[end])) --end;  // no letter is cut in half
    name.resize(end);
  }
  name.erase(0, name.find_first_not_of('.') == std::string::npos ? name.size() : name.find_first_not_of('.'));
  return name.empty() ? "Recording" : name;
}

}  // namespace quillant::FileNames
