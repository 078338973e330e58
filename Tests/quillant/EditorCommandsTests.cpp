#include <csignal>
#include <gmock/gmock.h>

#include "CaptureEngine/Telemetry/CursorTelemetryCodec.h"
#include "Core/AtomicFile.h"
#include "DrawKit/PNGImage.h"
#include "Editor/Project/ProjectBundle.h"
#include "Tests/Support/Media/DecodedMedia.h"
#include "Tests/Support/Media/TestRecording.h"
#include "Tests/quillant/QuillantRun.h"

namespace quillant {

namespace {

namespace fs = std::filesystem;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::StartsWith;
using Words = std::vector<std::string>;

/// The program itself, with a library of its own and a recording on which somebody clicked.
class EditorCommandsTest : public testing::Test {
 protected:
  void SetUp() override {
    record(90);
    TestRecording{}.write(folder / "talk.facecam.mov");
    fs::create_directory(out);
  }
  void record(int frames) {
    fs::remove(video);
    TestRecording{.frames = frames, .audioChannels = {1}}.write(video);
    AtomicFile::write(folder / "talk.cursor.json",
                      CursorTelemetryCodec::encode({.width = 192,
                                                    .height = 108,
                                                    .samples = {{.x = 90, .y = 50}},
                                                    .clicks = {{.x = 90, .y = 50, .timestamp = 1000}}}));
  }
  QuillantRun start(const Words& words) const { return QuillantRun(words, environment); }
  QuillantRun::Result run(const Words& words) const { return start(words).wait(); }
  std::ptrdiff_t entries() const { return std::distance(fs::directory_iterator(out), {}); }
  std::string target(const std::string& name) const { return (out / name).string(); }
  /// An export that lasts, once it says that it is under way.
  std::unique_ptr<ChildProcess> exporting(const std::string& name, Words before = {}) const {
    before.insert(before.end(),
                  {QUILLANT_PROGRAM, "export", video, "--output", target(name), "--size", "960x540"});
    auto process = std::make_unique<ChildProcess>(before, environment);
    EXPECT_TRUE(process->readLineWith("0%"));
    return process;
  }

  TemporaryFolder folder;
  fs::path out = folder / "out";
  std::string video = (folder / "talk.mp4").string();
  ChildProcess::Environment environment{
      {"HOME", folder.path()}, {"XDG_DATA_HOME", folder.path()}, {"DISPLAY", ""}};
};

TEST_F(EditorCommandsTest, MakesVideosOfProjectsBundlesAndFilesAndChangesNone) {
  const auto imported = run({"import", video, "--title", "The talk"});
  ASSERT_EQ(imported.exitCode, 0) << imported.errors;
  const auto id = imported.output.substr(0, imported.output.size() - 1);
  EXPECT_EQ(run({"import", video}).output, imported.output) << "the project that it has";
  EXPECT_THAT(run({"projects"}).output, testing::MatchesRegex(id + "  [0-9T:.Z-]+ +0:03  The talk\n"));
  const ProjectStore store(folder / "Quillant/projects-prod");
  const auto project = store.exportedProject(id).value();
  const auto bundle = (folder / "Talk.quillant").string();
  ProjectBundle::write(project, bundle);

  const auto quick = (folder / "quick.mp4").string();
  TestRecording{.frameRate = 120, .frames = 120}.write(quick);

  struct Case {
    Words words;
    std::string name;
    int width, height;
    std::vector<std::uint32_t>
        stamps;  ///< Of some frames, where the picture still tells; the last one's rank is the count.
    std::size_t frames;
  };
  const Case cases[] = {
      {{id}, "project.mp4", 192, 108, {}, 90},
      {{bundle, "--aspect", "square", "--background", "sunrise", "--padding", "30", "--corner-radius", "9",
        "--shadow", "0.5", "--inset", "4", "--cursor", "touch.dot:2", "--zoom", "snappy", "--camera", "top"},
       "bundle.mov",
       108,
       108,
       {},
       90},
      {{video, "--resolution", "p480", "--quality", "low", "--frame-rate", "60"},
       "large.mp4",
       852,
       480,
       {},
       180},
      {{video, "--plain"}, "copy.mp4", 192, 108, {0, 1, 2}, 90},
      {{video, "--plain", "--cut", "1-2", "--cut", "0-0.5"}, "cut.mp4", 192, 108, {15, 16, 17}, 45},
      {{video, "--background", "none", "--zoom", "none", "--cursor", "none", "--camera", "none", "--captions",
        "none", "--speed", "0-2:2"},
       "fast.mp4",
       192,
       108,
       {0, 2, 4},
       60},
      {{video, "--gif-size", "original", "--frame-rate", "20", "--no-loop"}, "talk.gif", 192, 108, {}, 60},
      {{quick}, "quick.mov", 192, 108, {}, 60},
      {{quick, "--plain"}, "copy-quick.mp4", 192, 108, {0, 1, 2}, 120},
      {{quick, "--gif-size", "original"}, "quick.gif", 192, 108, {}, 15},
  };
  for (const auto& [subject, name, width, height, stamps, frames] : cases) {
    SCOPED_TRACE(name);
    Words words{"export", "--output", target(name)};
    words.insert(words.end(), subject.begin(), subject.end());
    const auto result = run(words);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.errors, "");
    const std::string done = name.starts_with("copy") ? "copied to " : "exported ";
    EXPECT_THAT(result.output, testing::MatchesRegex("(  [0-9]+0?%\n)*  100%\nquillant: " + done +
                                                     target(name) + " \\(" + std::to_string(width) + "x" +
                                                     std::to_string(height) + ", [0-9.,]+ (KB|MB)\\)\n"));
    const auto media = DecodedMedia::decode(target(name), DecodedMedia::Keep::nothing);
    ASSERT_EQ(media.frames.size(), frames);
    EXPECT_EQ(media.frames[0].width, width);
    for (std::size_t i = 0; i < stamps.size(); ++i) EXPECT_EQ(media.frames[i].stamp, stamps[i]);
  }
  EXPECT_EQ(run({"frame", id, "--at", "1.5", "--output", target("a.Png"), "--size", "640x360"}).output,
            "quillant: wrote " + target("a.Png") + "\n");
  EXPECT_EQ(PNGImage::read(target("a.Png"))->width, 640);
  EXPECT_EQ(run({"frame", video, "--at", "0", "--output", target("a.JPG"), "--background", "none"}).exitCode,
            0);
  EXPECT_THAT(AtomicFile::read(target("a.JPG")), StartsWith("\xff\xd8\xff"));

  EXPECT_EQ(store.exportedProject(id)->projectJSON, project.projectJSON);
  EXPECT_EQ(store.exportedProject(id)->editorStateJSON, project.editorStateJSON);
  fs::remove(video);
  EXPECT_THAT(run({"projects"}).output, HasSubstr("The talk — recording missing: " + video));
}

TEST_F(EditorCommandsTest, NamesTheValidChoices) {
  const std::pair<Words, std::string> cases[] = {
      {{"--output", "a.avi"}, "a name that ends in .mp4, .mov or .gif"},
      {{"--resolution", "p1081"}, "source, p480, p720, p1080, twoK, fourK; or --size <width>x<height>"},
      {{"--size", "1280x"}, "<width>x<height> in pixels from 2 to 8192, as 1280x720"},
      {{"--frame-rate", "29.97"}, "source, 15, 20, 24, 25, 30, 60"},
      {{"--quality", "best"}, "low, medium, highSource"},
      {{"--aspect", "16:9"}, "auto, wide, square, classic, vertical, tall, portrait"},
      {{"--gif-size", "small"}, "medium, large, original"},
      {{"--zoom", "fast"}, "balanced, subtle, snappy, cinematic, guided; or none"},
      {{"--background", "red"}, "wallpaper-18; or none"},
      {{"--padding", "nan"}, "a number from 0 to 100"},
      {{"--corner-radius", "-1"}, "a number from 0 to 180"},
      {{"--shadow", "2"}, "a number from 0 to 1"},
      {{"--inset", ""}, "a number from 0 to 95"},
      {{"--cursor", "spotlight:9"}, "highlight.ring, spotlight; with :<size> from 1 to 8 behind a style"},
      {{"--camera", "middle"}, "none, top-left, top, top-right, left, center"},
      {{"--cut", "3-2"}, "<from>-<to> in seconds, the smaller first, as 2.5-4"},
      {{"--speed", "0-2:3"}, "<from>-<to>:<speed> with a speed of 1, 1.25, 1.5, 1.75, 2"},
      {{"--captions", "big"}, "none, box, outline, plain"},
  };
  const auto help = run({"export", "--help"}).output;
  for (const auto& [words, valid] : cases) {
    Words all{"export", video, "--output", target("a.mp4")};
    all.insert(all.end(), words.begin(), words.end());
    const auto result = run(all);
    EXPECT_EQ(result.exitCode, 64) << words[0];
    EXPECT_THAT(result.errors, testing::AllOf(HasSubstr("'" + words[1] + "'"), HasSubstr(valid),
                                              testing::EndsWith("\nsee quillant export --help\n")));
    EXPECT_THAT(help, HasSubstr(words[0] + " "));
  }
  const auto errors = [&](Words words) {
    words.insert(words.begin(), {"export", video});
    return run(words).errors;
  };
  const std::string see = "\nsee quillant export --help\n";
  EXPECT_EQ(errors({"--output", "a.gif", "--quality", "low"}),
            "quillant: --quality has no effect on .gif files" + see);
  EXPECT_EQ(errors({"--output", "a.mp4", "--no-loop"}),
            "quillant: --no-loop has no effect on .mp4 files" + see);
  EXPECT_EQ(errors({"a.mp4"}), "quillant: what is a.mp4? The file to write is named by --output" + see);
  EXPECT_TRUE(fs::is_empty(out));
}

TEST_F(EditorCommandsTest, SaysWhyNothingIsMade) {
  AtomicFile::write(folder / "text.mp4", "no media");
  fs::create_symlink(video, out / "link.mp4");
  const auto original = AtomicFile::read(video);
  const auto owned = [](const std::string& name) {
    return name + " belongs to the recording. Choose another name for the new file.";
  };
  AtomicFile::write(folder / "talk.source-intro.mov", "an added clip's, which no clip plays");
  const std::pair<Words, std::string> cases[] = {
      {{"export", "nothing", "--output", target("a.mp4")},
       "there is no file and no project “nothing”; quillant projects lists the projects"},
      {{"export", (folder / "text.mp4").string(), "--output", target("a.mp4")},
       "the file is no video or sound that can be read: Invalid data found when processing input"},
      {{"export", video, "--output", video}, owned("talk.mp4")},
      {{"export", video, "--output", target("link.mp4"), "--plain"}, owned("talk.mp4")},
      {{"export", video, "--output", (folder / "talk.facecam.mov").string(), "--camera", "none"},
       owned("talk.facecam.mov")},
      {{"export", video, "--output", (folder / "talk.source-intro.mov").string(), "--plain"},
       owned("talk.source-intro.mov")},
      {{"captions", video, "--output", (folder / "talk.cursor.json").string()}, owned("talk.cursor.json")},
      {{"export", video, "--output", target("none/a.mp4")},
       "could not write " + target("none/a.mp4") + ": No such file or directory"},
      {{"export", video, "--output", target("none/a.mp4"), "--plain"},
       "could not write " + target("none/a.mp4") + ": No such file or directory"},
      {{"export", video, "--output", target("none/a.gif")},
       "This computer cannot create the GIF export file."},
      {{"frame", video, "--output", target("none/a.jpg"), "--at", "1"},
       "could not write " + target("none/a.jpg") + ": No such file or directory"},
      {{"frame", video, "--output", target("a.png"), "--at", "9"},
       "there is nothing at 9 s: the video lasts 3.00 s"},
      {{"export", video, "--output", target("a.mp4"), "--cut", "0-3"},
       "Timeline edits remove the entire recording."},
      {{"export", video, "--output", target("a.mp4"), "--cut", "2-9"},
       "split range 2-9s is invalid for a 3s recording"},
      {{"import", target("none.mp4")}, "no such file: " + target("none.mp4")},
  };
  for (const auto& [words, text] : cases) {
    const auto result = run(words);
    EXPECT_EQ(result.exitCode, 70) << text;
    EXPECT_EQ(result.errors, "quillant: " + text + "\n");
  }
  EXPECT_EQ(AtomicFile::read(video), original);
  EXPECT_TRUE(fs::is_symlink(out / "link.mp4"));
  EXPECT_EQ(entries(), 1);
}

TEST_F(EditorCommandsTest, LeavesWhatWasThereWhenItEndsBeforeTheEnd) {
  record(300);
  AtomicFile::write(target("old.mp4"), "older");
  const auto original = AtomicFile::read(video);
  const Words limited{"sh", "-c", "trap '' XFSZ; ulimit -f 200; exec \"$@\"", "sh"};
  const auto fails = [&](const std::string& text, const Words& before,
                         const std::function<void(ChildProcess&)>& end) {
    SCOPED_TRACE(text);
    const auto process = exporting("old.mp4", before);
    end(*process);
    EXPECT_THAT(process->readAll(), ContainsRegex(text + "$"));
    EXPECT_EQ(AtomicFile::read(target("old.mp4")), "older");
    EXPECT_EQ(entries(), 1);
    return process->wait();
  };
  EXPECT_EQ(fails("", {}, [](ChildProcess& process) { process.signal(SIGINT); }), 130);
  EXPECT_EQ(fails("", {}, [](ChildProcess& process) { process.signal(SIGKILL); }), -SIGKILL);
  EXPECT_EQ(
      fails("could not write " + target("old.mp4") + ": File too large\n", limited, [](ChildProcess&) {}),
      70);
  EXPECT_EQ(
      fails("quillant: (the video could not be read: Input/output error|the file's index is not whole)\n", {},
            [&](ChildProcess&) { fs::resize_file(video, original.size() / 3); }),
      70);
}

TEST_F(EditorCommandsTest, ShowsTheTimeLeftOnATerminalAndStopsByItsKey) {
  record(600);
  ChildProcess terminal({"script", "-qefc",
                         std::string(QUILLANT_PROGRAM) + " export " + video + " --output " + target("a.mp4") +
                             " --size 2560x1440",
                         "/dev/null"},
                        environment);
  std::string shown;
  while (shown.find(" left") == std::string::npos) {
    const auto more = terminal.readSome();
    ASSERT_NE(more, "") << shown;
    shown += more;
  }
  EXPECT_THAT(shown, ContainsRegex("\r\x1b\\[K  [0-9]+%, [0-9]+:[0-9][0-9] left"));
  terminal.write("\x03");
  terminal.readAll();
  EXPECT_EQ(terminal.wait(), 130);
  EXPECT_TRUE(fs::is_empty(out));
}

}  // namespace

}  // namespace quillant
