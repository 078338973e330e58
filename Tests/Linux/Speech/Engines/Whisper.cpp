// Speaks the command line of whisper.cpp's whisper-cli. Its models, after the head that all have, say how it
// behaves.

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <span>
#include <string>
#include <unistd.h>
#include <vector>

#include "Tests/Linux/Speech/Engines/LoudStretches.h"

namespace {

std::string contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator(file), {}};
}

std::string token(const std::string& text, double from, double to) {
  return R"({"text": ")" + text + R"(", "timestamps": {}, "offsets": {"from": )" +
         std::to_string(static_cast<int>(from * 1000)) + R"(, "to": )" +
         std::to_string(static_cast<int>(to * 1000)) + R"(}, "id": 1, "p": 0.9, "t_dtw": -1})";
}

/// A segment of two words for each loud stretch: one in pieces that end within a character, and one more.
std::string transcription(std::span<const std::int16_t> samples) {
  std::string result;
  for (const auto& [start, end] : loudStretches(samples)) {
    const double step = (end - start) / 4;
    const auto at = [&](int pieces) { return start + pieces * step; };
    result += (result.empty() ? "" : ",\n") +
              std::string(R"({"offsets": {"from": 0, "to": 0}, "text": " caf", "tokens": [)") +
              token("[_BEG_]", start, start) + "," + token(" caf", at(0), at(1)) + "," +
              token("\xC3", at(1), at(1)) + "," + token("\xA9", at(1), at(2)) + "," +
              token(" loud", at(2), at(3)) + "," + token(".", at(3), at(4)) + "]}";
  }
  return result;
}

}  // namespace

int main(int argc, char** argv) {
  std::map<std::string, std::string> options;
  for (int i = 1; i < argc; ++i) {
    const std::string name = argv[i];
    const bool isFlag = name == "-ojf" || name == "-np" || name == "-pp";
    options[name] = isFlag ? "yes" : argv[++i];
  }
  const auto model = contents(options["-m"]);
  const std::string behaviour = model.substr(8);
  std::ofstream(options["-m"] + ".pid") << ::getpid();
  const auto fail = [](const char* text, int code) {
    std::fprintf(stderr, "%s\nusage: whisper-cli [options]\n", text);
    return code;
  };
  if (options["-l"] == "tlh") return fail("error: unknown language 'tlh'", 0);
  const auto sound = contents(options["-f"]);
  constexpr std::size_t head = 44;
  // 16,000 samples a second of 16 bits, mono.
  const std::string expected("WAVEfmt \x10\0\0\0\1\0\1\0\x80\x3e\0\0\0\x7d\0\0\2\0\x10\0data", 32);
  if (sound.substr(8, 32) != expected) return fail("error: failed to read audio file", 0);

  std::fputs("whisper_print_progress_callback: progress =   5%\n", stderr);
  if (behaviour == "hanging") ::pause();
  if (behaviour == "broken") return fail("error: failed to initialize whisper context", 3);
  if (behaviour == "killed") ::raise(SIGKILL);
  if (behaviour == "chatty")
    for (int i = 0; i < 1'000'000; ++i) std::fputs("it goes on and on without a new line ", stderr);
  if (behaviour == "silent") return 0;

  const std::span samples(reinterpret_cast<const std::int16_t*>(sound.data() + head),
                          (sound.size() - head) / 2);
  auto answer = R"({"systeminfo": "", "result": {"language": ")" + options["-l"] + "\"},\n" +
                R"("transcription": [)" + transcription(samples) + "]}\n";
  if (behaviour == "cut") answer.resize(answer.size() / 2);
  std::ofstream file(options["-of"] + ".json", std::ios::binary);
  file << answer;
  while (behaviour == "huge" && file) file << std::string(1 << 20, ' ');
  std::fputs("whisper_print_progress_callback: progress = 100%\n", stderr);
  return 0;
}
