#include <atomic>
#include <fmt/format.h>
#include <gmock/gmock.h>

#include "Core/AtomicFile.h"
#include "Core/JSON.h"
#include "Editor/Captions/TranscriptionError.h"
#include "Editor/Coordinator/CaptionJobs.h"
#include "Tests/Editor/Coordinator/CoordinatorFixture.h"
#include "Tests/Support/Eventually.h"

namespace quillant {

using testing::ElementsAre;

namespace {

/// Answers as the test says, on the thread of the jobs; by itself with one word that tells the sound's name.
class ScriptedRecognizer : public SpeechRecognizing {
 public:
  RecognizedSpeech recognize(const Request& request) override {
    ++count;
    request.progress(0.5);
    return answer(request);
  }
  static RecognizedSpeech hear(const Request& request) {
    return {.language = "en-US", .words = {{0.12345, 0.5, request.name}}};
  }

  std::atomic<int> count = 0;
  std::function<RecognizedSpeech(const Request&)> answer = hear;
};

std::string text(const CaptionJobs::Status& status) {
  struct Name {
    std::string operator()(const CaptionJobs::Transcribing& now) const {
      return fmt::format("{} {}/{} {}", now.name, now.index, now.count, now.progress);
    }
    std::string operator()(const CaptionJobs::Failed& failed) const { return failed.message; }
    std::string operator()(const CaptionJobs::Off&) const { return "off"; }
    std::string operator()(const CaptionJobs::Checking&) const { return "checking"; }
    std::string operator()(const CaptionJobs::Ready&) const { return "ready"; }
  };
  return std::visit(Name{}, status);
}

/// A recording with a microphone and the system's sound, whose every edit the jobs are told of.
class CaptionJobsTest : public CoordinatorFixture {
 protected:
  CaptionJobsTest() { open({.frames = 30, .audioChannels = {1, 2}}); }
  ~CaptionJobsTest() override {
    jobs.reset();
    loop.restart();
    loop.run();
  }

  void open(const TestRecording& recording) {
    CoordinatorFixture::open(recording);
    follow();
  }
  void follow() {
    edited = coordinator->driver().changed.connect([this](const auto& was, const auto& is) {
      if (was.state.snapshot != is.state.snapshot) jobs->update(coordinator);
    });
  }
  bool reaches(const std::string& status) {
    return runUntil([&] { return text(jobs->status()) == status; });
  }
  std::vector<std::string> heard() const {
    std::vector<std::string> texts;
    if (const auto& captions = coordinator->edits().captions)
      for (const auto& transcript : captions->transcripts)
        for (const auto& word : transcript.words)
          texts.push_back(fmt::format("{} {} {}", rawText(transcript.track), word.start, word.text));
    return texts;
  }

  const std::filesystem::path micCache = folder / "x.source-primary.transcript-mic.json";
  const std::filesystem::path systemCache = folder / "x.source-primary.transcript-audio.json";
  const std::vector<std::string> both{"mic 0.123 x (microphone)", "system 0.123 x (system audio)"};

  std::shared_ptr<ScriptedRecognizer> recognizer = std::make_shared<ScriptedRecognizer>();
  std::shared_ptr<CaptionJobs> jobs = CaptionJobs::make(
      loop.get_executor(), Transcriber(SpeechEngines{.modern = nullptr, .legacy = recognizer}));
  std::vector<std::string> seen;  ///< Every status, each once.
  Connection shown = jobs->changed.connect([this] {
    if (const auto now = text(jobs->status()); seen.empty() || seen.back() != now) seen.push_back(now);
  });
  Connection edited;
};

TEST_F(CaptionJobsTest, ListensOnceAndFindsItAgain) {
  std::vector<std::size_t> pending;
  jobs->onTranscriptReady = [&] { pending.push_back(jobs->pendingSources().size()); };
  coordinator->setCaptionsOn(true);
  coordinator->setCaptionStyle(TimelineCaptionStyle::plain);
  ASSERT_TRUE(reaches("ready"));
  EXPECT_THAT(seen, ElementsAre("checking", "x (microphone) 0/2 0", "x (microphone) 0/2 0.05",
                                "x (microphone) 0/2 0.5", "x (system audio) 1/2 0",
                                "x (system audio) 1/2 0.05", "x (system audio) 1/2 0.5", "ready"));
  EXPECT_EQ(heard(), both);
  EXPECT_THAT(pending, ElementsAre(1u, 0u));

  // An undo past the arrival: the cache brings the words back, and what was undone can be redone.
  const auto edits = coordinator->edits();
  coordinator->driver().undo();
  EXPECT_THAT(heard(), ElementsAre());
  ASSERT_TRUE(runUntil([&] { return heard() == both; }));
  coordinator->driver().redo();
  EXPECT_EQ(coordinator->edits(), edits);
  ASSERT_TRUE(reaches("ready"));

  // The same recording, opened again.
  coordinator = std::make_shared<EditorCoordinator>(loop.get_executor(), EditorCoordinator::Services{});
  run(coordinator->load({.screenVideoPath = video.string()}));
  follow();
  seen.clear();
  coordinator->setCaptionsOn(true);
  ASSERT_TRUE(runUntil([&] { return heard() == both; }));
  ASSERT_TRUE(reaches("ready"));
  EXPECT_THAT(seen, ElementsAre("checking", "ready"));
  EXPECT_EQ(recognizer->count, 2);
}

TEST_F(CaptionJobsTest, MakesAnewWhatNoCacheHolds) {
  const Json another = TimelineTranscript{.source = "primary", .track = TimelineTranscriptTrack::audio};
  Json ofAnotherFile = TimelineTranscript{.source = "primary", .track = TimelineTranscriptTrack::mic};
  ofAnotherFile["mediaBytes"] = 1;
  const std::string broken[] = {"", "{", "{}", "[1]", JSON::compact(another), JSON::compact(ofAnotherFile)};
  for (const auto& contents : broken) {
    AtomicFile::write(micCache, contents);
    AtomicFile::write(systemCache, contents);
    jobs->transcriptWanted = true;  // captions may be off
    coordinator->driver().applySnapshot({});
    jobs->update(coordinator);
    ASSERT_TRUE(runUntil([&] { return heard() == both; })) << contents;
    ASSERT_TRUE(reaches("ready"));
    EXPECT_EQ(JSON::decode<TimelineTranscript>(JSON::parse(AtomicFile::read(systemCache))),
              coordinator->edits().captions->transcripts[1]);
  }
  EXPECT_EQ(recognizer->count, 2 * static_cast<int>(std::size(broken)));
}

TEST_F(CaptionJobsTest, StopsAtAFailureUntilItIsToldToTryAgain) {
  recognizer->answer = [](const auto& request) -> RecognizedSpeech {
    throw TranscriptionError::failed(request.name, "no ears");
  };
  coordinator->setCaptionsOn(true);
  ASSERT_TRUE(reaches("Couldn't make captions for x (microphone): no ears."));
  coordinator->setCaptionStyle(TimelineCaptionStyle::plain);
  EXPECT_EQ(recognizer->count, 1) << "no edit tries again";
  EXPECT_THAT(jobs->pendingSources(), ElementsAre("primary"));

  recognizer->answer = ScriptedRecognizer::hear;
  std::filesystem::create_directory(micCache);
  jobs->retry();
  ASSERT_TRUE(reaches("Couldn't save the captions of x (microphone) beside the recording: could not write " +
                      micCache.string() + ": Is a directory"));
  EXPECT_THAT(heard(), ElementsAre()) << "nothing goes into the edit that is not on the disk";
  std::filesystem::remove(micCache);
  jobs->retry();
  ASSERT_TRUE(reaches("ready"));
  EXPECT_EQ(heard(), both);

  jobs->setPreviewStatus(CaptionJobs::Failed{"for show"}, {"primary"});
  EXPECT_EQ(seen.back(), "for show");
  std::size_t pending = 1;
  const auto told = jobs->changed.connect([&] { pending = jobs->pendingSources().size(); });
  jobs->stop();
  EXPECT_EQ(pending, 0u) << "whoever shows what waits is told that nothing does";
}

TEST_F(CaptionJobsTest, DropsWhatAStoppedRunStillBrings) {
  std::atomic<bool> waitsForTheStop = true;
  std::atomic<int> ended = 0;
  recognizer->answer = [&](const auto& request) {
    EXPECT_TRUE(eventually([&] { return !waitsForTheStop || request.stop.stop_requested(); }));
    request.progress(0.9);
    ++ended;
    return ScriptedRecognizer::hear(request);
  };
  const auto isListening = [&](int nth) { return runUntil([&] { return recognizer->count == nth; }); };
  coordinator->setCaptionsOn(true);
  ASSERT_TRUE(isListening(1));
  coordinator->setCaptionsOn(false);
  EXPECT_EQ(text(jobs->status()), "off");
  EXPECT_THAT(jobs->pendingSources(), ElementsAre());
  coordinator->setCaptionsOn(true);  // while the first run may still be on the thread
  ASSERT_TRUE(isListening(2));
  EXPECT_EQ(ended, 1);
  ASSERT_TRUE(reaches("x (microphone) 0/2 0.5"));
  EXPECT_FALSE(std::filesystem::exists(micCache));

  // Another recording.
  const auto first = coordinator;
  coordinator = std::make_shared<EditorCoordinator>(loop.get_executor(), EditorCoordinator::Services{});
  run(coordinator->load({.screenVideoPath = video.string()}));
  follow();
  waitsForTheStop = false;
  coordinator->setCaptionsOn(true);
  ASSERT_TRUE(reaches("ready"));
  EXPECT_EQ(heard(), both);
  EXPECT_TRUE(first->edits().captions->transcripts.empty());

  // The jobs go in the middle of a run.
  std::filesystem::remove(micCache);
  waitsForTheStop = true;
  coordinator->driver().applySnapshot({.captions = TimelineCaptions{.on = true}});
  ASSERT_TRUE(isListening(5));
  edited.disconnect();
  jobs.reset();
  loop.restart();
  loop.run();
  EXPECT_EQ(ended, 5);
  EXPECT_FALSE(std::filesystem::exists(micCache));
}

TEST_F(CaptionJobsTest, TakesUpSourcesThatAppearDuringARun) {
  TestRecording{.frames = 30, .audioChannels = {2}}.write(folder / "x.source-voice.mp4");
  std::atomic<bool> isReleased = false;
  recognizer->answer = [&](const auto& request) {
    EXPECT_TRUE(eventually([&] { return isReleased.load(); }));
    return ScriptedRecognizer::hear(request);
  };
  coordinator->setCaptionsOn(true);
  ASSERT_TRUE(runUntil([&] { return recognizer->count == 1; }));
  const TimelineAudioSource source{.id = "voice", .fileExtension = "mp4", .displayName = "Voice"};
  coordinator->driver().send(
      TimelineEvents::AddAudioClip{{.id = UUID::random(), .source = "voice", .sourceEnd = 1}, source},
      RecordsUndo::yes);
  isReleased = true;
  ASSERT_TRUE(runUntil([&] { return heard().size() == 3; }));
  EXPECT_EQ(heard().back(), "audio 0.123 Voice");
  EXPECT_TRUE(std::filesystem::exists(folder / "x.source-voice.transcript-audio.json"));
  ASSERT_TRUE(reaches("ready"));
}

TEST_F(CaptionJobsTest, ListensToOneVoiceAtATimeOfEveryFile) {
  TestRecording{.frames = 30, .audioChannels = {2, 1}}.write(folder / "x.source-b.mp4");
  TestRecording{.frames = 30, .audioChannels = {1, 2}}.write(folder / "x.source-c.mp4");
  TimelineEditSnapshot edits;
  edits.sources = {
      {.id = "b", .kind = TimelineSource::Kind::recording, .fileExtension = "mp4", .displayName = "B"},
      {.id = "c", .fileExtension = "mp4", .displayName = "C"},
      {.id = "gone", .fileExtension = "mp4", .displayName = "Gone"}};
  coordinator->driver().applySnapshot(edits);
  std::vector<std::string> targets;
  for (const auto& target : run(coordinator->captionTargets()))
    targets.push_back(fmt::format("{} {} {}", target.name, rawText(target.track), target.trackIndex));
  EXPECT_THAT(targets, ElementsAre("x (microphone) mic 0", "x (system audio) system 1",
                                   "B (system audio) system 0", "B (microphone) mic 1", "C audio 0"));

  CoordinatorFixture::open({.frames = 30, .audioChannels = {2, 2, 1, 1}});
  targets.clear();
  for (const auto& target : run(coordinator->captionTargets()))
    targets.push_back(fmt::format("{} {} {}", target.name, rawText(target.track), target.trackIndex));
  EXPECT_THAT(targets, ElementsAre("x (system audio) system 0", "x audio 1", "x (microphone) mic 2"));

  jobs->onlyTrack = TimelineTranscriptTrack::mic;
  coordinator->setCaptionsOn(true);
  ASSERT_TRUE(reaches("ready"));
  EXPECT_THAT(heard(), ElementsAre("mic 0.123 x (microphone)"));
}

}  // namespace

}  // namespace quillant
