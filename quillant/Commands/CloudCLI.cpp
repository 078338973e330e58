#include "quillant/Commands/CloudCLI.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <sys/prctl.h>

#include "QuillantCloud/QuillantConfig.h"
#include "quillant/Commands/AccountCommands.h"
#include "quillant/Commands/CommandLoop.h"
#include "quillant/Commands/Console.h"
#include "quillant/Commands/QueueCommands.h"
#include "quillant/Commands/ShareCommand.h"
#include "quillant/Commands/TitledFile.h"
#include "quillant/Commands/UploadCommand.h"
#include "quillant/Commands/UsageError.h"

namespace quillant {

namespace {

using Words = std::vector<std::string>;

/// Takes "--profile <name>" out, wherever it stands; the last one counts.
std::optional<std::string> extractProfile(Words& words) {
  std::optional<std::string> profile;
  for (auto option = words.begin();
       (option = std::find(words.begin(), words.end(), "--profile")) != words.end();) {
    if (option + 1 == words.end()) throw UsageError{"--profile requires a value"};
    profile = *(option + 1);
    words.erase(option, option + 2);
  }
  return profile;
}

void allowOnly(std::initializer_list<std::string_view> flags, const std::string& command,
               const Words& words) {
  for (const auto& word : words)
    if (std::find(flags.begin(), flags.end(), word) == flags.end())
      throw UsageError{"unknown " + command + " option " + word};
}

bool contains(const Words& words, std::string_view flag) {
  return std::find(words.begin(), words.end(), flag) != words.end();
}

int runAsync(Task<int> task) {
  return runBlocking(std::move(task), makeStrand());
}

}  // namespace

bool CloudCLI::shouldRun(const Arguments& arguments) const {
  return claims(arguments, {"login", "logout", "whoami", "upload", "share", "resume", "status"});
}

int CloudCLI::share(ShareWords words) const {
  if (words.isStatus) return runAsync(ShareCommand::status());
  CommandLoop loop;
  // Whatever the moment, the disk knows how far it is.
  const auto interrupt = [] {
    Console::writeError("\nquillant: stopped; run it again to go on, to the same link\n");
    std::_Exit(ExitCode::interrupted);
  };
  return loop.run(ShareCommand::run(makeServices_(), makeTranscriber_, std::move(words)), interrupt);
}

int CloudCLI::run(const Arguments& arguments) {
  // The account's token will be in this process's memory: no core file keeps that.
  ::prctl(PR_SET_DUMPABLE, 0);
  try {
    const auto command = arguments[1];
    Words words(arguments.begin() + 2, arguments.end());
    if (auto profile = extractProfile(words)) QuillantConfig::profileOverride = std::move(profile);
    if (command == "upload") {
      auto named = TitledFile::parse(command, "<file.mp4>", words);
      return runAsync(UploadCommand::run(makeServices_(), std::move(named)));
    }
    if (command == "share") return share(ShareWords::parse(words));
    if (command == "resume") {
      allowOnly({"--force"}, command, words);
      return runAsync(QueueCommands::resume(makeServices_(), contains(words, "--force")));
    }
    if (command == "status") {
      allowOnly({"--resume", "--force"}, command, words);
      return runAsync(
          QueueCommands::status(makeServices_(), contains(words, "--resume"), contains(words, "--force")));
    }
    allowOnly({}, command, words);
    if (command == "login") return CommandLoop().run(AccountCommands::login(makeServices_()));
    if (command == "logout") return runAsync(AccountCommands::logout(makeServices_()));
    return runAsync(AccountCommands::whoami(makeServices_()));
  } catch (const UsageError& error) {
    Console::tell(error.text);
    return ExitCode::usage;
  } catch (const std::exception& error) {
    // A store of secrets that fails, a disk: whatever no command has words of its own for.
    Console::tell(error.what());
    return ExitCode::failure;
  }
}

}  // namespace quillant
