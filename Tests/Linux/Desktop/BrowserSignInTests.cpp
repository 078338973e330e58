#include <array>
#include <asio/bind_cancellation_slot.hpp>
#include <asio/cancellation_signal.hpp>
#include <future>
#include <unistd.h>

#include "Linux/Desktop/BrowserSignIn.h"
#include "Linux/Desktop/CallbackHandOver.h"
#include "Linux/Desktop/CallbackScheme.h"
#include "Linux/Desktop/CallbackSocket.h"
#include "Linux/Desktop/UserSocket.h"
#include "Tests/Linux/Desktop/DesktopTest.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/Eventually.h"

namespace quillant {
namespace {

using Kind = WebAuthenticationError::Kind;
using Ending = std::variant<std::string, Kind>;
using std::chrono::milliseconds;

const std::string page = "https://example.com/auth/google?from=desktop";
const std::string callback = "quillant://auth?token=a%2Bb";

int handOver(const std::string& url) {
  return CallbackHandOver::run({"quillant", url});
}

class BrowserSignInTest : public DesktopTest {
 protected:
  /// The callback, or how it ended without. Is cancelled once `cancelWhen` holds.
  Ending signIn(milliseconds timeLimit = std::chrono::seconds(20),
                const std::function<bool()>& cancelWhen = nullptr) {
    const auto session = BrowserSignIn::make({.program = QUILLANT_HAND_OVER, .timeLimit = timeLimit});
    const auto signal = std::make_shared<asio::cancellation_signal>();
    const auto result = std::make_shared<std::promise<Ending>>();
    const auto strand = makeStrand();
    asio::co_spawn(strand, session->authenticate(page, "quillant"),
                   asio::bind_cancellation_slot(
                       signal->slot(), [signal, result](const std::exception_ptr& error, const auto& taken) {
                         try {
                           if (error) std::rethrow_exception(error);
                           result->set_value(taken.value_or("nothing"));
                         } catch (const WebAuthenticationError& failure) {
                           EXPECT_EQ(failure.description().find("token"), std::string::npos);
                           result->set_value(failure.kind());
                         }
                       }));
    if (cancelWhen) {
      EXPECT_TRUE(eventually(cancelWhen));
      asio::post(strand, [signal] { signal->emit(asio::cancellation_type::terminal); });
    }
    return result->get_future().get();
  }

  /// A browser that notes the page and then does what `script` says.
  void addBrowser(const std::string& script) const {
    addProgram("xdg-open", "echo \"$1\" > $HOME/opened\n" + script);
  }
};

TEST_F(BrowserSignInTest, ComesBackThroughTheDesktopsOwnTools) {
  addProgram("test-browser", "echo \"$1\" > $HOME/opened; xdg-open '" + callback + "'");
  set("BROWSER", "test-browser");
  EXPECT_EQ(signIn(), Ending(callback));
  EXPECT_EQ(taken("opened"), page + "\n");
  EXPECT_TRUE(std::filesystem::is_empty(home / "run" / "quillant"));
}

TEST_F(BrowserSignInTest, TellsWhyNoCallbackCame) {
  // A browser in the foreground, and nobody who signs in.
  addBrowser("while [ -e $HOME/bin ]; do sleep 0.05; done");
  EXPECT_EQ(signIn(milliseconds(50)), Ending(Kind::timedOut));
  taken("opened");
  EXPECT_EQ(signIn(std::chrono::hours(1), [&] { return std::filesystem::exists(home / "opened"); }),
            Ending(Kind::cancelled));
  addBrowser("exit 3");
  EXPECT_EQ(signIn(), Ending(Kind::presentation));
  set("PATH", home / "nothing");
  EXPECT_EQ(signIn(), Ending(Kind::presentation));
  set("DISPLAY", "");
  EXPECT_EQ(signIn(), Ending(Kind::presentation));
  set("DISPLAY", ":4242");
  std::filesystem::remove_all(home / "run");
  std::ofstream(home / "run") << "no folder";
  EXPECT_EQ(signIn(), Ending(Kind::failed));
}

class CallbackSocketTest : public DesktopTest {
 protected:
  /// Connects as `user`, says `text`, and returns what is answered.
  std::string say(const std::string& text, uid_t user = ::geteuid()) const {
    const auto* script =
        "import contextlib, os, socket, sys; os.setuid(int(sys.argv[3]))\n"
        "peer = socket.socket(socket.AF_UNIX); peer.connect(sys.argv[1])\n"
        "with contextlib.suppress(BrokenPipeError, ConnectionResetError):\n"
        "  peer.send(sys.argv[2].encode()); peer.shutdown(socket.SHUT_WR); print(peer.recv(64).decode(), "
        "end='')";
    return ChildProcess({"python3", "-c", script, path, text, std::to_string(user)}).readAll();
  }

  std::future<std::string> receive(CallbackSocket& socket) {
    return std::async(std::launch::async, [&] { return runBlocking(socket.receive("quillant"), strand); });
  }

  const std::filesystem::path path = CallbackSocket::path();
  Executor strand = makeStrand();
};

TEST_F(CallbackSocketTest, WaitsForACallbackOfItsSchemeAndItsUser) {
  CallbackSocket socket(strand);
  auto received = receive(socket);
  EXPECT_EQ(say("other://auth?token=x\n"), "refused\n");
  EXPECT_EQ(say("quillant://without-an-end"), "refused\n");
  EXPECT_EQ(say(std::string(UserSocket::longestLine + 100, 'x') + "\n"), "refused\n");
  if (::geteuid() == 0) {  // who alone can be somebody else
    // Even where the folder, which keeps others out, does not.
    for (auto open = path; open != home.path().parent_path(); open = open.parent_path())
      std::filesystem::permissions(open, std::filesystem::perms(0777));
    EXPECT_EQ(say("quillant://auth?token=planted\n", 4242), "");
  }
  EXPECT_EQ(handOver(callback), 0);
  EXPECT_EQ(received.get(), callback);
}

TEST_F(CallbackSocketTest, ALaterSignInTakesThePlaceOfAnEarlierOneAndOfAKilledOne) {
  EXPECT_EQ(handOver(callback), 70);
  auto first = std::make_unique<CallbackSocket>(strand);
  std::filesystem::create_hard_link(path, home / "kept");
  {
    CallbackSocket second(strand);
    auto received = receive(second);
    first.reset();
    EXPECT_EQ(handOver(callback), 0);
    EXPECT_EQ(received.get(), callback);
  }
  std::filesystem::rename(home / "kept", path);  // what a killed process leaves behind
  EXPECT_EQ(handOver(callback), 70);
  EXPECT_NO_THROW(CallbackSocket{strand});
}

TEST(CallbackHandOver, ClaimsAndErasesCallbacksOnly) {
  EXPECT_TRUE(CallbackHandOver::shouldRun({"quillant", callback}));
  EXPECT_FALSE(CallbackHandOver::shouldRun({"quillant"}));
  EXPECT_FALSE(CallbackHandOver::shouldRun({callback, "upload", callback}));
  std::array<std::string, 3> words{callback, callback, "quillant.mp4"};
  std::array<char*, 3> arguments{words[0].data(), words[1].data(), words[2].data()};
  CallbackHandOver::eraseFromArguments(3, arguments.data());
  EXPECT_EQ(words,
            (std::array<std::string, 3>{callback, std::string(callback.size(), '\0'), "quillant.mp4"}));
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
