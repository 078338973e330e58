#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string_view>
#include <sys/resource.h>

#include "Core/Error.h"
#include "Core/UUID.h"
#include "Editor/Captions/Transcriber.h"
#include "Linux/Speech/InstalledSpeech.h"
#include "Linux/Speech/PocketSphinxRecognizer.h"
#include "tools/SpeechTrial/SpeechScore.h"
#include "tools/SpeechTrial/SpokenTrack.h"

// Says sentences in a track of so many seconds, at its start and at its end, has an engine hear them, and
// prints how well it did. Exits with 1 if that is worse than captions may be.

namespace {

using namespace quillant;

constexpr double largestErrorRate = 0.05;
constexpr double largestDeviation = 0.12;  ///< Seconds.

constexpr const char* sentences[] = {
    "the quick brown fox jumps over the lazy dog",
    "please open the window and close the door",
    "the weather was cold and there was snow on the road",
    "we will meet again next monday in the afternoon",
    "she wrote a long letter to her brother last night",
    "this is the first time that we have seen the new version",
    "the children are playing in the garden behind the house",
    "nobody knows how much money was spent on the project",
    "click on the button at the bottom of the page",
    "now we can see the results of our work",
    "the meeting will begin at nine in the morning",
    "I would like to show you how this program works",
    "first open the settings and choose your language",
    "he said that the train would arrive in ten minutes",
    "there are many ways to solve this problem",
    "you can change the size of the window at any time",
    "thank you very much for watching this video",
    "they have been working here for almost twenty years",
    "the government said that it would not change the law",
    "it is easy to record your screen and share it with others",
    "my father bought a new car last week",
    "after lunch we walked along the river for an hour",
    "the company has offices in london paris and new york",
    "do you remember the name of the person who called",
};
constexpr double shortest = 120;  ///< Seconds in which all of them have room.
/// Engines hear in hundredths of a second, and where among them a sentence begins changes a few words: all of
/// them are said at each of these seconds.
constexpr double placements[] = {0, 0.0025, 0.005, 0.0075};

/// The first half of the sentences after pauses short and long, the others at the end; all that much later.
SpokenTrack speak(double duration, double later) {
  constexpr double pauses[] = {4, 0.8, 2, 1.2};
  constexpr double lastSeconds = 48;
  SpokenTrack track;
  double end = later;
  for (std::size_t i = 0; i < std::size(sentences); ++i) {
    if (i == std::size(sentences) / 2) end = std::max(end, duration - lastSeconds + later);
    end = track.say(end + pauses[i % std::size(pauses)], sentences[i]);
  }
  return track;
}

/// A file that is gone at the end.
struct TrackFile {
  std::filesystem::path path = std::filesystem::temp_directory_path() / (UUID::random().text() + ".caf");
  ~TrackFile() { std::filesystem::remove(path); }
};

double megabytes(int whose) {
  rusage usage{};
  ::getrusage(whose, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1000;
}

bool hear(double duration, const SpeechEngines& engines) {
  std::size_t words = 0, mistakes = 0;
  double deviation = 0;
  std::chrono::duration<double> taken{};
  for (const double placement : placements) {
    const auto track = speak(duration, placement);
    const TrackFile file;
    track.write(file.path, {.sampleRate = 16'000, .channels = 1}, duration);
    const auto start = std::chrono::steady_clock::now();
    const auto speech = Transcriber(engines).transcribe(file.path, 0, "the trial", [](double) {});
    taken += std::chrono::steady_clock::now() - start;
    const auto& heard = speech.value().words;
    const auto score = SpeechScore::of(track.words(), {heard.begin(), heard.end()});
    std::printf("%.1f ms in %s: %zu words said, %zu mistakes (%.1f %%)", 1000 * placement,
                speech->language.c_str(), score.words, score.mistakes.size(), 100 * score.errorRate());
    for (const auto& mistake : score.mistakes) std::printf(" %s", mistake.c_str());
    std::printf("\n        starts within %.0f ms (\"%s\")\n", 1000 * score.largestDeviation,
                score.mostDeviating.c_str());
    words += score.words;
    mistakes += score.mistakes.size();
    deviation = std::max(deviation, score.largestDeviation);
  }
  const double errorRate = static_cast<double>(mistakes) / static_cast<double>(words);
  std::printf("words   %zu said, %zu mistakes (%.1f %%)\n", words, mistakes, 100 * errorRate);
  std::printf("speed   %.0f s of sound in %.1f s\n", std::size(placements) * duration, taken.count());
  std::printf("memory  %.0f MB, and %.0f MB of its program\n", megabytes(RUSAGE_SELF),
              megabytes(RUSAGE_CHILDREN));
  return errorRate <= largestErrorRate && deviation <= largestDeviation;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view engine = argc == 3 ? argv[1] : "";
  double duration = 0;
  if (argc == 3) std::from_chars(argv[2], argv[2] + std::strlen(argv[2]), duration);
  if ((engine != "packaged" && engine != "installed") || !(duration >= shortest)) {
    std::fputs("usage: quillant-speech-trial packaged|installed <seconds, 120 at least>\n", stderr);
    return 2;
  }
  try {
    SpeechEngines engines{.modern = nullptr,
                          .legacy = std::make_shared<PocketSphinxRecognizer>(QUILLANT_SPEECH_MODELS)};
    if (engine == "installed") {
      engines.modern = InstalledSpeech::find(InstalledSpeech::Places::ofUser(), SystemLanguage::current());
      if (!engines.modern) {
        std::fputs("quillant-speech-trial: no engine with a model for this language is installed\n", stderr);
        return 2;
      }
    }
    return hear(duration, engines) ? 0 : 1;
  } catch (const Error& error) {
    std::fprintf(stderr, "quillant-speech-trial: %s\n", error.description().c_str());
    return 2;
  }
}
