#include "quillant/Commands/HelpCLI.h"

#include "quillant/Commands/Console.h"
#include "quillant/Commands/HeadlessCLI.h"

namespace quillant {

namespace {

constexpr const char* afterUsage = R"(       quillant login | logout | whoami
       quillant upload <file.mp4> [--title <title>]
       quillant resume [--force]
       quillant status [--resume] [--force]
       quillant verify-display | verify-area [--display <displayID>]
       quillant facecam-contention
       quillant --help | --version
       quillant

Records the screen, and shares recordings. Without a command it starts the desktop application.

  record    record a display until the duration has passed; audio, camera and pointer as asked for
  recover   list what interrupted recordings left in a directory; changes nothing
  login     sign in through the browser; with logout and whoami for the account
  upload    upload a video and copy its link
  resume    go on with uploads that were interrupted
  status    show the account and the uploads under way

  verify-display, verify-area, facecam-contention
            try on this machine that the right display and area are recorded, and that previews of the
            camera and recordings do not disturb each other

The cloud commands take --profile <name> to keep several accounts apart.

Exit codes: 0 done, 64 usage error, 70 failure, 77 could not start (permissions, no display, file exists).)";

}  // namespace

bool HelpCLI::shouldRun(const Arguments& arguments) const {
  return claims(arguments, {"--help", "-h", "--version"});
}

int HelpCLI::run(const Arguments& arguments) {
  if (arguments[1] == "--version") {
    Console::print("quillant " QUILLANT_VERSION);
  } else {
    Console::print(HeadlessCLI::usage);
    Console::print(afterUsage);
  }
  return ExitCode::success;
}

}  // namespace quillant
