#include <charconv>
#include <cstdio>
#include <exception>
#include <span>
#include <string_view>

#include "packaging/wallpapers/Picture.h"
#include "packaging/wallpapers/Wallpapers.h"

// draw-wallpaper <number from 1> <picture.png> <thumbnail.png>
int main(int argumentCount, char** arguments) {
  using namespace quillant;
  constexpr std::span painters(Wallpapers::painters);
  std::size_t number = 0;
  if (argumentCount == 4) {
    const std::string_view text = arguments[1];
    std::from_chars(text.data(), text.data() + text.size(), number);
  }
  if (number < 1 || number > painters.size()) {
    std::fprintf(stderr, "usage: draw-wallpaper <1 to %zu> <picture.png> <thumbnail.png>\n", painters.size());
    return 64;
  }
  try {
    const auto picture = Picture::painted(painters[number - 1]);
    picture.writePNG(arguments[2]);
    picture.reduced(8).writePNG(arguments[3]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "draw-wallpaper: %s\n", error.what());
    return 70;
  }
  return 0;
}
