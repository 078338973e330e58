#include <array>
#include <asio/bind_cancellation_slot.hpp>
#include <asio/cancellation_signal.hpp>
#include <asio/use_future.hpp>
#include <future>
#include <grp.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Linux/Desktop/BrowserSignIn.h"
#include "Linux/Desktop/CallbackHandOver.h"
#include "Linux/Desktop/CallbackScheme.h"
#include "Linux/Desktop/CallbackSocket.h"
#include "Tests/Linux/Desktop/DesktopTest.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/Eventually.h"

namespace quillant {
namespace {

using Kind = WebAuthenticationError::Kind;
using std::chrono::milliseconds;

const std::string page = "https://example.com/auth/google?from=desktop";
const std::string callback = "quillant://auth?token=a%2Bb";

int handOver(const std::string& url) {
  return CallbackHandOver::run({"quillant", url});
}

/// The callback, or how the sign-in ended without.
std::variant<std::string, Kind> signIn(milliseconds timeLimit = std::chrono::seconds(20)) {
  const auto session = BrowserSignIn::make({.program = QUILLANT_HAND_OVER, .timeLimit = timeLimit});
  try {
    return runBlocking(session->authenticate(page, "quillant")).value_or("nothing");
  } catch (const WebAuthenticationError& error) {
    EXPECT_EQ(std::string(error.what()).find("token"), std::string::npos);
    return error.kind();
  }
}

class BrowserSignInTest : public DesktopTest {
 protected:
  /// A browser that notes the page and then goes where `script` says.
  void addBrowser(const std::string& script) const {
    addProgram("xdg-open", "echo \"$1\" > $HOME/opened\n" + script);
  }
  static std::string opens(const std::string& url) {
    return std::string(QUILLANT_HAND_OVER) + " '" + url + "'";
  }
};

TEST_F(BrowserSignInTest, TakesTheCallbackFromTheProcessThatTheDesktopStarts) {
  addBrowser(opens(callback) + " && touch $HOME/done");
  EXPECT_EQ(signIn(), (std::variant<std::string, Kind>(callback)));
  EXPECT_EQ(contents(home / "opened"), page + "\n");
  EXPECT_TRUE(eventually([&] { return std::filesystem::exists(home / "done"); }));
  EXPECT_TRUE(std::filesystem::is_empty(home / "run" / "quillant"));
}

TEST_F(BrowserSignInTest, ComesBackThroughTheDesktopsOwnTools) {
  if (ChildProcess({"which", "xdg-open", "xdg-mime"}).wait() != 0) GTEST_SKIP() << "no xdg-utils";
  addProgram("test-browser", "echo \"$1\" > $HOME/opened; xdg-open '" + callback + "'");
  set("BROWSER", "test-browser");
  EXPECT_EQ(signIn(), (std::variant<std::string, Kind>(callback)));
  EXPECT_EQ(contents(home / "opened"), page + "\n");
}

TEST_F(BrowserSignInTest, TellsWhyNoCallbackCame) {
  using Outcome = std::variant<std::string, Kind>;
  addBrowser(
      "while [ -e $HOME/bin ]; do sleep 0.05; done");  // a browser in the foreground, and nobody who signs in
  EXPECT_EQ(signIn(milliseconds(50)), Outcome(Kind::timedOut));
  addBrowser("exit 3");
  EXPECT_EQ(signIn(), Outcome(Kind::presentation));
  set("PATH", home / "nothing");
  EXPECT_EQ(signIn(), Outcome(Kind::presentation));
  set("DISPLAY", "");
  EXPECT_EQ(signIn(), Outcome(Kind::presentation));
  set("DISPLAY", ":4242");
  std::filesystem::remove_all(home / "run");
  std::ofstream(home / "run") << "no folder";
  EXPECT_EQ(signIn(), Outcome(Kind::failed));
}

TEST_F(BrowserSignInTest, EndsWhenItIsCancelled) {
  addBrowser("touch $HOME/open");
  const auto session = BrowserSignIn::make({.program = QUILLANT_HAND_OVER});
  asio::cancellation_signal signal;
  const auto strand = makeStrand();
  std::promise<Kind> ended;
  asio::co_spawn(strand, session->authenticate(page, "quillant"),
                 asio::bind_cancellation_slot(signal.slot(), [&](std::exception_ptr error, auto) {
                   try {
                     if (error) std::rethrow_exception(error);
                   } catch (const WebAuthenticationError& failure) {
                     ended.set_value(failure.kind());
                   }
                 }));
  ASSERT_TRUE(eventually([&] { return std::filesystem::exists(home / "open"); }));
  asio::post(strand, [&] { signal.emit(asio::cancellation_type::terminal); });
  EXPECT_EQ(ended.get_future().get(), Kind::cancelled);
}

class CallbackSocketTest : public DesktopTest {
 protected:
  /// Connects as `user`, says `text`, and returns what is answered.
  static std::string say(const std::string& text, uid_t user = ::geteuid()) {
    std::array<int, 2> answer{};
    EXPECT_EQ(::pipe(answer.data()), 0);
    const auto path = CallbackSocket::path().string();
    const pid_t child = ::fork();
    if (child == 0) {
      sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
      path.copy(address.sun_path, path.size());
      const int peer = ::socket(AF_UNIX, SOCK_STREAM, 0);
      char buffer[64];
      ssize_t count = 0;
      if ((user == ::geteuid() || ::setuid(user) == 0) &&
          ::connect(peer, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
          ::send(peer, text.data(), text.size(), MSG_NOSIGNAL) > 0 && ::shutdown(peer, SHUT_WR) == 0)
        count = ::recv(peer, buffer, sizeof buffer, 0);
      ::_exit(count > 0 && ::write(answer[1], buffer, static_cast<std::size_t>(count)) > 0 ? 0 : 1);
    }
    ::close(answer[1]);
    ::waitpid(child, nullptr, 0);
    char buffer[64];
    const auto count = ::read(answer[0], buffer, sizeof buffer);
    ::close(answer[0]);
    return {buffer, static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
  }

  static std::future<std::string> receive(CallbackSocket& socket, const Executor& strand) {
    return asio::co_spawn(strand, socket.receive("quillant"), asio::use_future);
  }
};

TEST_F(CallbackSocketTest, WaitsForACallbackOfItsScheme) {
  const auto strand = makeStrand();
  CallbackSocket socket(strand);
  auto received = receive(socket, strand);
  EXPECT_EQ(say("other://auth?token=x\n"), "refused\n");
  EXPECT_EQ(say("quillant://without-an-end"), "refused\n");
  EXPECT_EQ(say(std::string(CallbackSocket::longestURL + 100, 'x') + "\n"), "refused\n");
  EXPECT_EQ(handOver(callback), 0);
  EXPECT_EQ(received.get(), callback);
}

TEST_F(CallbackSocketTest, HearsNobodyOfAnotherUser) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can be somebody else";
  const auto strand = makeStrand();
  CallbackSocket socket(strand);
  auto received = receive(socket, strand);
  // Even where the folder, which keeps others out, does not.
  for (auto path = CallbackSocket::path(); path != home.path().parent_path(); path = path.parent_path())
    std::filesystem::permissions(path, std::filesystem::perms(0777));
  constexpr uid_t somebodyElse = 4242;
  EXPECT_EQ(say("quillant://auth?token=planted\n", somebodyElse), "");
  EXPECT_EQ(handOver(callback), 0);
  EXPECT_EQ(received.get(), callback);
}

TEST_F(CallbackSocketTest, ALaterSignInTakesThePlaceOfAnEarlierOne) {
  const auto strand = makeStrand();
  auto first = std::make_unique<CallbackSocket>(strand);
  CallbackSocket second(strand);
  auto received = receive(second, strand);
  first.reset();
  EXPECT_EQ(handOver(callback), 0);
  EXPECT_EQ(received.get(), callback);
}

TEST_F(CallbackSocketTest, AHandOverToNobodyFails) {
  EXPECT_EQ(handOver(callback), 70);
  const auto path = CallbackSocket::path();
  {
    CallbackSocket socket(makeStrand());
    std::filesystem::create_hard_link(path, home / "kept");
  }
  // What a killed process leaves behind.
  std::filesystem::rename(home / "kept", path);
  EXPECT_EQ(handOver(callback), 70);
  EXPECT_NO_THROW(CallbackSocket{makeStrand()});
}

TEST(CallbackHandOver, ClaimsAndErasesCallbacksOnly) {
  EXPECT_TRUE(CallbackHandOver::shouldRun({"quillant", callback}));
  EXPECT_FALSE(CallbackHandOver::shouldRun({"quillant"}));
  EXPECT_FALSE(CallbackHandOver::shouldRun({callback, "upload", callback}));
  std::string program = callback;
  std::string secret = callback;
  std::string file = "quillant.mp4";
  std::array<char*, 3> arguments{program.data(), secret.data(), file.data()};
  CallbackHandOver::eraseFromArguments(3, arguments.data());
  EXPECT_EQ(secret, std::string(callback.size(), '\0'));
  EXPECT_EQ(program + file, callback + "quillant.mp4");
}

TEST(CallbackScheme, NamesTheProgramWhateverItsPath) {
  const std::pair<std::string, std::string> cases[] = {
      {"/usr/bin/quillant", R"(Exec=/usr/bin/quillant %u)"},
      {"/opt/my apps/quillant", R"(Exec="/opt/my apps/quillant" %u)"},
      {R"(/opt/a"b$c`d\e)", R"(Exec="/opt/a\\"b\\$c\\`d\\\\e" %u)"},
      {"/opt/100%", R"(Exec=/opt/100%% %u)"},
  };
  for (const auto& [program, line] : cases)
    EXPECT_NE(CallbackScheme::desktopFile("quillant", program).find("\n" + line + "\n"), std::string::npos)
        << CallbackScheme::desktopFile("quillant", program);
}

}  // namespace
}  // namespace quillant
