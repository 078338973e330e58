#include <gtest/gtest.h>

#include "QuillantCloud/AuthFlow.h"
#include "Tests/QuillantCloud/CloudFakes.h"
#include "quillant/Commands/UploadLines.h"
#include "quillant/DesktopSignIn.h"

namespace quillant {
namespace {

using Kind = WebAuthenticationError::Kind;
struct Waits {
  friend bool operator==(const Waits&, const Waits&) = default;
};
/// What a page ends with.
using Script = std::variant<std::string, Kind, Waits>;

/// Comes back with a callback or fails; or waits until it is cancelled.
class ScriptedPage : public WebAuthenticating {
 public:
  explicit ScriptedPage(Script script) : script_(std::move(script)) {}
  bool wasEnded = false;

  Task<std::optional<std::string>> authenticate(std::string, std::string) override {
    if (const auto* callback = std::get_if<std::string>(&script_)) co_return *callback;
    if (const auto* kind = std::get_if<Kind>(&script_)) throw WebAuthenticationError(*kind, "why");
    co_await sleepFor(std::chrono::nanoseconds::max());
    wasEnded = true;
    throw WebAuthenticationError(Kind::cancelled, "ended");
  }

 private:
  Script script_;
};

TEST(DesktopSignIn, EndsAsTheFirstOfItsPagesThatCounts) {
  const std::string callback = "quillant://auth?token=a";
  const std::tuple<Script, Script, Script> cases[] = {
      {callback, Waits(), callback},
      {Waits(), callback, callback},
      {Kind::presentation, callback, callback},
      {Kind::presentation, Kind::cancelled, Kind::cancelled},
      {Kind::timedOut, Waits(), Kind::timedOut},
      {Waits(), Kind::cancelled, Kind::cancelled},
  };
  for (const auto& [browserScript, terminalScript, expected] : cases) {
    const auto browser = std::make_shared<ScriptedPage>(browserScript);
    const auto terminal = std::make_shared<ScriptedPage>(terminalScript);
    DesktopSignIn page(browser, terminal);
    Script result;
    try {
      result = runBlocking(page.authenticate("https://example.com", "quillant"), makeStrand()).value();
    } catch (const WebAuthenticationError& error) {
      result = error.kind();
    }
    EXPECT_EQ(result, expected);
    EXPECT_EQ(browser->wasEnded, browserScript == Script(Waits()));
    EXPECT_EQ(terminal->wasEnded, terminalScript == Script(Waits()));
  }
}

TEST(AuthFlow, TellsACancelFromATimeOutAndAFailure) {
  for (const auto& [kind, text] : {std::pair(Kind::cancelled, "sign-in cancelled"),
                                   {Kind::timedOut, "sign-in failed: why"},
                                   {Kind::failed, "sign-in failed: why"},
                                   {Kind::presentation, "could not present sign-in window: why"}}) {
    ScriptedPage page(kind);
    MemorySecrets secrets;
    try {
      runBlocking(AuthFlow::login(page, secrets, nullptr));
      ADD_FAILURE() << text;
    } catch (const AuthError& error) {
      EXPECT_EQ(error.description(), text);
    }
  }
}

TEST(UploadLines, DrawsProgressInOnePlaceOnATerminalOnly) {
  for (const auto& [isTerminal, expected] :
       {std::pair(false, "uploading…\n  video 0%\n  video 100%\nfinalizing…\n  thumb 50%\n"),
        {true, "uploading…\n\r\x1b[K  video 0%\r\x1b[K  video 100%\nfinalizing…\n\r\x1b[K  thumb 50%\n"}}) {
    testing::internal::CaptureStdout();
    {
      UploadLines lines(isTerminal);
      using Phase = UploadProgress::Phase;
      lines.write("uploading…");
      for (const double fraction : {0.0, 0.004, 1.0})
        lines.show({.phase = Phase::video, .fraction = fraction});
      lines.show({.phase = Phase::finalizing});
      lines.write("finalizing…");
      lines.show({.phase = Phase::thumb, .fraction = 0.5});
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
  }
}

}  // namespace
}  // namespace quillant
