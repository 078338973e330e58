#include <csignal>
#include <cstddef>
#include <fmt/format.h>
#include <fstream>
#include <gmock/gmock.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include "Core/JSON.h"
#include "Editor/Captions/TranscriptionError.h"
#include "Linux/Speech/InstalledSpeech.h"
#include "Linux/Speech/KaldiRecognizer.h"
#include "Linux/Speech/WhisperRecognizer.h"
#include "Linux/Speech/WhisperTranscript.h"
#include "Tests/Linux/Speech/SpeechTest.h"

namespace quillant {

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr std::int32_t manyLanguages = 51'865;
constexpr std::int32_t englishOnly = 51'864;

/// From here on whoever asks for a connection to a network is killed, and whatever it starts.
void forbidNetwork() {
  const auto offset = [](std::size_t field) { return static_cast<std::uint32_t>(field); };
  sock_filter rules[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offset(offsetof(seccomp_data, nr))),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_socket, 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offset(offsetof(seccomp_data, args[0]))),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, AF_UNIX, 1, 0),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog filter{std::size(rules), rules};
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
      ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) != 0)
    std::_Exit(2);
}

class InstalledSpeechTest : public SpeechTest {
 protected:
  void installKaldi(const std::filesystem::path& path, const std::string& behaviour = {}) {
    std::filesystem::create_directories(path / "am");
    std::ofstream(path / "am" / "final.mdl") << behaviour;
  }

  void installWhisper(const std::filesystem::path& path, const std::string& behaviour = {},
                      std::int32_t vocabulary = manyLanguages) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file.write("lmgg", 4);
    file.write(reinterpret_cast<const char*>(&vocabulary), sizeof(vocabulary));
    file << behaviour;
  }

  std::shared_ptr<SpeechRecognizing> find(const std::string& language = "en-US") const {
    return InstalledSpeech::find(places, {language});
  }

  /// Silence, in which it is loud from 4 to 4.5 s, from 4.85 to 5.2 s, and from 20 to 20.6 s.
  std::filesystem::path loudSound() const {
    constexpr int rate = 48'000;
    std::vector<float> samples(24 * rate * 2);
    for (const auto& [start, end] : {std::pair{4.0, 4.5}, {4.85, 5.2}, {20.0, 20.6}})
      for (auto i = static_cast<std::size_t>(start * rate); i < static_cast<std::size_t>(end * rate); ++i)
        samples[2 * i] = samples[2 * i + 1] = static_cast<float>(0.5 * std::sin(static_cast<double>(i) / 20));
    return write("loud.caf", {rate, 2}, samples);
  }

  /// What was heard in it, or why nothing was.
  std::string hear(std::shared_ptr<SpeechRecognizing> engine) const {
    try {
      const auto speech =
          transcriber(std::move(engine)).transcribe(loudSound(), 0, "Talk", [](double) {}).value();
      std::string heard = speech.language;
      for (const auto& word : speech.words) heard += " " + word.text;
      return heard;
    } catch (const TranscriptionError& error) {
      return error.description();
    }
  }

  std::filesystem::path english = folder / "speech" / "en";
  InstalledSpeech::Places places{
      .model = {}, .models = folder / "speech", .kaldiLibrary = TEST_KALDI, .whisperProgram = TEST_WHISPER};
};

}  // namespace

TEST_F(InstalledSpeechTest, FindsTheModelOfALanguageThatAnEngineCanUse) {
  EXPECT_EQ(find(), nullptr);
  installKaldi(english / "model");
  EXPECT_TRUE(std::dynamic_pointer_cast<KaldiRecognizer>(find()));
  EXPECT_EQ(find("sv-SE"), nullptr);
  installWhisper(english / "a.bin", {}, englishOnly);
  EXPECT_TRUE(std::dynamic_pointer_cast<WhisperRecognizer>(find())) << "the first by name";
  places.whisperProgram = "no-such-program";
  EXPECT_TRUE(std::dynamic_pointer_cast<KaldiRecognizer>(find())) << "of those with an engine";
  places.kaldiLibrary = TEST_KALDI_INCOMPLETE;
  EXPECT_EQ(find(), nullptr) << "a library that lacks a function is none";
  places.kaldiLibrary = "libnosuchlibrary.so";
  EXPECT_EQ(find(), nullptr);

  places.whisperProgram = TEST_WHISPER;
  installWhisper(folder / "speech" / "zh-Hant" / "model.bin", {}, englishOnly);
  EXPECT_EQ(find("zh-Hant-TW"), nullptr) << "it knows English alone";
  installWhisper(folder / "speech" / "zh-Hant" / "model.bin");
  EXPECT_THAT(hear(find("zh-Hant-TW")), HasSubstr("zh-Hant ")) << "the language that was used";

  // A model that is named counts alone.
  places.kaldiLibrary = TEST_KALDI;
  places.model = folder / "named";
  EXPECT_EQ(find(), nullptr);
  installKaldi(places.model);
  EXPECT_TRUE(std::dynamic_pointer_cast<KaldiRecognizer>(find("sv-SE")));
}

TEST_F(InstalledSpeechTest, HearsWordsAtTheirTimes) {
  for (const bool isKaldi : {true, false}) {
    if (isKaldi)
      installKaldi(english);
    else
      std::filesystem::remove_all(english), installWhisper(english / "model.bin");
    double last = 0;
    const auto engine = find("en-GB");
    const auto speech = transcriber(engine).transcribe(loudSound(), 0, "Talk", [&](double done) {
      EXPECT_GE(done, last);
      last = done;
    });
    ASSERT_TRUE(speech);
    EXPECT_GT(last, 0.8);
    EXPECT_EQ(speech->language, "en");
    std::vector<std::pair<double, double>> times;
    for (const auto& word : speech->words)
      if (isKaldi || word.text == "café") times.emplace_back(word.start, word.end);
    ASSERT_EQ(times.size(), 3u);
    const double share = isKaldi ? 1 : 0.5;
    for (const auto& [index, start, length] : {std::tuple{0, 4.0, 0.5}, {1, 4.85, 0.35}, {2, 20.0, 0.6}}) {
      EXPECT_NEAR(times[static_cast<std::size_t>(index)].first, start, 0.02);
      EXPECT_NEAR(times[static_cast<std::size_t>(index)].second, start + share * length, 0.02);
    }
    if (!isKaldi) {
      EXPECT_EQ(speech->words.at(1).text, "loud.");
    }

    ::setenv("QUILLANT_LEGACY_SPEECH", "", 1);
    EXPECT_THAT(hear(engine), testing::Not(HasSubstr("loud"))) << "any value counts";
    ::unsetenv("QUILLANT_LEGACY_SPEECH");
  }
  EXPECT_TRUE(std::filesystem::is_empty(temporary)) << "nothing is left behind";
}

TEST_F(InstalledSpeechTest, SaysWhatAnEngineDidInsteadOfHearing) {
  const std::string unreadable = "the speech recognizer's answer cannot be read";
  for (const auto& [behaviour, reason] :
       {std::pair<std::string, std::string>{"unloadable", "the speech model cannot be loaded"},
        {"unstartable", "the speech recognizer cannot be started"},
        {"deaf", "the speech recognizer stopped"},
        {"speechless", unreadable},
        {"cut", unreadable},
        {"huge", unreadable},
        {"timeless", unreadable}}) {
    installKaldi(english, behaviour);
    EXPECT_EQ(hear(find()), "Couldn't make captions for Talk: " + reason + ".") << behaviour;
  }
  std::filesystem::remove_all(english);
  for (const auto& [behaviour, reason] :
       {std::pair<std::string, std::string>{
            "broken", "the speech recognizer ended with 3 (error: failed to initialize whisper context)"},
        {"killed", "the speech recognizer ended with -9 (it said nothing)"},
        {"silent", "the speech recognizer ended with 0 (it said nothing)"},
        {"huge", "the speech recognizer ended with -25 (it said nothing)"},
        {"cut", unreadable}}) {
    installWhisper(english / "model.bin", behaviour);
    EXPECT_EQ(hear(find()), "Couldn't make captions for Talk: " + reason + ".") << behaviour;
  }
  installWhisper(english / "model.bin", "chatty");
  EXPECT_THAT(hear(find()), HasSubstr("loud.")) << "what it says besides is passed over";

  places.model = english / "model.bin";
  EXPECT_EQ(hear(find("tlh")),
            TranscriptionError::languageUnsupported(SystemLanguage{"tlh"}.displayName()).description());
  EXPECT_TRUE(std::filesystem::is_empty(temporary));
}

TEST_F(InstalledSpeechTest, EndsAProgramThatHangsWhenItIsStopped) {
  installWhisper(english / "model.bin", "hanging");
  std::stop_source stop;
  int calls = 0;
  // The first time tells that the sound is there, the second one that the program has begun.
  const auto stopSoon = [&](double) {
    if (++calls == 2) stop.request_stop();
  };
  EXPECT_FALSE(transcriber(find()).transcribe(loudSound(), 0, "Talk", stopSoon, stop.get_token()));
  EXPECT_EQ(calls, 2);
  pid_t program = 0;
  std::ifstream(english / "model.bin.pid") >> program;
  ASSERT_GT(program, 0);
  EXPECT_EQ(::kill(program, 0), -1);
  EXPECT_TRUE(std::filesystem::is_empty(temporary));
}

TEST_F(InstalledSpeechTest, OpensNoConnection) {
  EXPECT_EXIT(
      {
        forbidNetwork();
        ::socket(AF_INET, SOCK_STREAM, 0);
      },
      testing::KilledBySignal(SIGSYS), "");
  const auto exitsWell = testing::ExitedWithCode(0);
  const auto hearAlone = [&](std::shared_ptr<SpeechRecognizing> engine) {
    forbidNetwork();
    const bool heard = !hear(std::move(engine)).starts_with("Couldn't");
    std::_Exit(heard ? 0 : 1);
  };
  EXPECT_EXIT(hearAlone(nullptr), exitsWell, "");
  installKaldi(english);
  EXPECT_EXIT(hearAlone(find()), exitsWell, "");
  std::filesystem::remove_all(english);
  installWhisper(english / "model.bin");
  EXPECT_EXIT(hearAlone(find()), exitsWell, "");
}

TEST(WhisperTranscript, JoinsPiecesToWords) {
  const auto heard = [](const std::string& tokens) {
    const auto speech = WhisperTranscript::read(
        R"({"result": {"language": "xx"}, "transcription": [{"tokens": [)" + tokens + "]}]}", 2);
    std::string words;
    for (const auto& word : speech.words)
      words += (words.empty() ? "" : "|") + word.text + fmt::format("@{}-{}", word.start, word.end);
    return words;
  };
  const auto token = [](const std::string& text, int from, int to) {
    return fmt::format(R"({{"text": "{}", "offsets": {{"from": {}, "to": {}}}}},)", text, from, to);
  };
  const std::string end = R"({"text": "[_TT_100]", "offsets": {"from": 0, "to": 0}})";
  EXPECT_EQ(heard(token(" it", 0, 100) + token("'s", 100, 200) + token(" 9", 250, 300) +
                  token(".", 300, 400) + token("  \\n", 400, 400) + end),
            "it's@0-0.2|9.@0.25-0.4");
  // Chinese has no blanks; a character may come in two tokens.
  EXPECT_EQ(heard(token("你", 0, 100) + token("\xE5\xA5", 100, 200) + token("\xBD，", 200, 300) +
                  token("世界", 300, 500) + token("。", 500, 600) + end),
            "你好，@0-0.3|世界。@0.3-0.6");
  EXPECT_EQ(heard(token(" broken\xE5", 0, 100) + end), "broken@0-0.1");
  EXPECT_EQ(heard(token(" [", 0, 100) + token("BLANK", 100, 200) + token("_AUDIO]", 200, 300) + end), "");
  EXPECT_EQ(heard(token(" late", 1900, 2600) + token(" back", 1990, 1980) + end),
            "late@1.9-2|back@1.99-1.99");
  for (const char* text : {"", "[]", "{}", R"({"transcription": [{"text": "without tokens"}]})",
                           R"({"transcription": [{"tokens": [{"text": "a", "offsets": {"from": "0"}}]}]})"})
    EXPECT_THROW(WhisperTranscript::read(text, 1), JSONError) << text;
}

}  // namespace quillant
