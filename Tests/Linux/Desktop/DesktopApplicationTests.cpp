#include <asio/io_context.hpp>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "Core/AtomicFile.h"
#include "Linux/Desktop/DesktopSession.h"
#include "Linux/Desktop/LoginItem.h"
#include "Linux/Desktop/SingleInstance.h"
#include "Tests/Linux/Desktop/DesktopTest.h"

namespace quillant {
namespace {

using Words = SingleInstance::Words;

class DesktopApplicationTest : public DesktopTest {
 protected:
  /// The code that a process of its own ends with.
  static int inAnotherProcess(const std::function<int()>& work) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(work());
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
};

TEST_F(DesktopApplicationTest, HandsALaterStartToTheOneThatRuns) {
  asio::io_context loop;
  std::vector<Words> starts;
  const auto claim = [&] {
    return SingleInstance::claim(loop.get_executor(), [&](const Words& words) {
      starts.push_back(words);
      loop.stop();
    });
  };
  auto first = claim();
  ASSERT_TRUE(first);
  EXPECT_EQ(claim(), nullptr);
  for (const auto& words : {Words{}, Words{"/a b/\"c\n.quillant", "/ä.quillant"}}) {
    std::thread later([&] { EXPECT_TRUE(SingleInstance::tell(words)); });
    loop.restart();
    loop.run_for(std::chrono::seconds(20));
    later.join();
    ASSERT_FALSE(starts.empty());
    EXPECT_EQ(starts.back(), words);
  }
  EXPECT_EQ(starts.size(), 2U);
  first.reset();
  loop.restart();
  loop.run();  // nobody waits any more
  EXPECT_TRUE(claim());
}

TEST_F(DesktopApplicationTest, TakesThePlaceOfOneThatWasKilled) {
  EXPECT_EQ(inAnotherProcess([] {
              asio::io_context loop;
              const auto killed = SingleInstance::claim(loop.get_executor(), nullptr);
              return killed ? 7 : 8;  // without any destructor
            }),
            7);
  asio::io_context loop;
  EXPECT_TRUE(SingleInstance::claim(loop.get_executor(), nullptr));
}

TEST_F(DesktopApplicationTest, StartsAtLoginUntilItIsSwitchedOffHereOrByTheDesktop) {
  EXPECT_FALSE(LoginItem::isEnabled());
  LoginItem::disable();  // no error
  LoginItem::enable("/opt/my programs/quillant");
  EXPECT_TRUE(LoginItem::isEnabled());
  const auto file = home / "config" / "autostart" / "quillant.desktop";
  auto contents = AtomicFile::read(file);
  EXPECT_THAT(contents, testing::HasSubstr("\nExec=\"/opt/my programs/quillant\"\n"));
  contents.replace(contents.find("enabled=true"), 12, "enabled=false");
  AtomicFile::write(file, contents);
  EXPECT_FALSE(LoginItem::isEnabled());
  LoginItem::enable("/opt/quillant");
  EXPECT_TRUE(LoginItem::isEnabled());
  LoginItem::disable();
  EXPECT_FALSE(LoginItem::isEnabled());
}

TEST_F(DesktopApplicationTest, FindsTheFolderOfFilms) {
  const auto films = home / "Videos";
  EXPECT_EQ(DesktopSession::filmsFolder(), films);
  const struct {
    const char* line;
    std::filesystem::path expected;
  } cases[] = {
      {"XDG_MUSIC_DIR=\"$HOME/M\"\nXDG_VIDEOS_DIR=\"$HOME/Meine Filme\"\n", home / "Meine Filme"},
      {"XDG_VIDEOS_DIR=\"/films/\"", "/films/"},
      {"XDG_VIDEOS_DIR=\"$HOME/\"\n", films},  // there is none
      {"#XDG_VIDEOS_DIR=\"/no\"\n", films},
      {"XDG_VIDEOS_DIR=\"relative\"\n", films},
  };
  std::filesystem::create_directory(home / "config");
  for (const auto& [line, expected] : cases) {
    AtomicFile::write(home / "config" / "user-dirs.dirs", line);
    EXPECT_EQ(DesktopSession::filmsFolder(), expected) << line;
  }
  set("HOME", "");
  EXPECT_EQ(DesktopSession::filmsFolder(), std::nullopt);
}

}  // namespace
}  // namespace quillant
