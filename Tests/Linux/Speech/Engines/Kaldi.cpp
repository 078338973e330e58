// Speaks the C interface of libvosk. Its models say in "am/final.mdl" how it behaves.

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "Tests/Linux/Speech/Engines/LoudStretches.h"

struct VoskModel {
  std::string behaviour;
};

struct VoskRecognizer {
  const VoskModel& model;
  bool words = false;
  std::vector<std::int16_t> samples;
  std::size_t told = 0;  ///< Of the words in them.
  std::string answer;
};

namespace {

/// The words since the last answer, at their times since the first sample.
std::string nextAnswer(VoskRecognizer& recognizer) {
  std::string words;
  const auto heard = loudStretches(recognizer.samples);
  for (; recognizer.told < heard.size(); ++recognizer.told)
    words += (words.empty() ? "" : ", ") + std::string("{\"conf\" : 0.9, \"end\" : ") +
             std::to_string(heard[recognizer.told].end) +
             ", \"start\" : " + std::to_string(heard[recognizer.told].start) + ", \"word\" : \"loud\"}";
  if (words.empty() || !recognizer.words) return "{\"text\" : \"\"}";
  return "{\"result\" : [" + words + "], \"text\" : \"loud\"}";
}

}  // namespace

extern "C" {

void vosk_set_log_level(int) {}

VoskModel* vosk_model_new(const char* folder) {
  std::ifstream file(std::filesystem::path(folder) / "am" / "final.mdl");
  std::string behaviour;
  std::getline(file, behaviour);
  return behaviour == "unloadable" ? nullptr : new VoskModel{behaviour};
}

void vosk_model_free(VoskModel* model) {
  delete model;
}

VoskRecognizer* vosk_recognizer_new(VoskModel* model, float sampleRate) {
  return sampleRate == 16'000 && model->behaviour != "unstartable" ? new VoskRecognizer{*model} : nullptr;
}

void vosk_recognizer_set_words(VoskRecognizer* recognizer, int on) {
  recognizer->words = on != 0;
}

int vosk_recognizer_accept_waveform(VoskRecognizer* recognizer, const char* data, int length) {
  if (recognizer->model.behaviour == "deaf") return -1;
  const auto count = recognizer->samples.size();
  recognizer->samples.resize(count + static_cast<std::size_t>(length) / 2);
  std::memcpy(recognizer->samples.data() + count, data, static_cast<std::size_t>(length));
  const auto heard = loudStretches(recognizer->samples);
  const double now = static_cast<double>(recognizer->samples.size()) / 16'000;
  return heard.size() > recognizer->told && now - heard.back().end > 0.05;
}

#ifndef INCOMPLETE
const char* vosk_recognizer_result(VoskRecognizer* recognizer) {
  return (recognizer->answer = nextAnswer(*recognizer)).c_str();
}
#endif

const char* vosk_recognizer_final_result(VoskRecognizer* recognizer) {
  const auto& behaviour = recognizer->model.behaviour;
  auto& answer = recognizer->answer;
  answer = nextAnswer(*recognizer);
  if (behaviour == "speechless") return nullptr;
  if (behaviour == "cut") answer.resize(answer.size() / 2);
  if (behaviour == "huge") answer.insert(answer.size() - 1, std::string(4 << 20, ' '));
  if (behaviour == "timeless") answer = R"({"result": [{"start": "now", "end": 1, "word": "loud"}]})";
  return answer.c_str();
}

void vosk_recognizer_free(VoskRecognizer* recognizer) {
  delete recognizer;
}
}
