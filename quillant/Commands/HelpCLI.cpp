#include "quillant/Commands/HelpCLI.h"

#include "quillant/Commands/Console.h"
#include "quillant/Commands/HeadlessCLI.h"

namespace quillant {

namespace {

constexpr const char* afterUsage = R"(       quillant login | logout | whoami
       quillant upload <file.mp4> [--title <title>]
       quillant share <project id | bundle.quillant | video> [--title <title>] [--resolution source|p1080|p720]
                      [--captions none|<style>]
       quillant share --status
       quillant resume [--force]
       quillant status [--resume] [--force]
       quillant import <video> [--title <title>]
       quillant projects
       quillant export <project id | bundle.quillant | video> --output <file.mp4|.mov|.gif> [options]
       quillant frame <project id | bundle.quillant | video> --at <seconds> --output <file.png|.jpg> [options]
       quillant captions <project id | bundle.quillant | video> --output <file.vtt|.srt|.txt|.json> [options]
       quillant verify-display | verify-area [--display <displayID>]
       quillant facecam-contention
       quillant author-e1-fixture [--dir <directory>]
       quillant render-popover
       quillant --help | --version
       quillant

Records the screen, makes videos of recordings, and shares them. Without a command it starts the desktop application.

  record    record a display until the duration has passed; audio, camera and pointer as asked for
            (Ctrl-C does not finish the file: it plays up to the last second or two, and recover lists it)
  recover   list what interrupted recordings left in a directory; changes nothing
  login     sign in through the browser; with logout and whoami for the account
  upload    upload a video and copy its link
  share     make a link for a project and copy it, then render and upload what it shows; again after an edit,
            to the same link; with --status tell what each project's link shows
  resume    go on with uploads that were interrupted
  status    show the account and the uploads under way
  import    make a project of a recording and print its id
  projects  list the projects, and what needs attention
  export    make a finished video or GIF; quillant export --help tells every choice
  frame     make a finished picture of one moment
  captions  write what is said as subtitles or as text, heard on this computer alone

  verify-display, verify-area, facecam-contention
            try on this machine that the right display and area are recorded, and that previews of the
            camera and recordings do not disturb each other
  author-e1-fixture
            write a made-up recording, to try import and export with
  render-popover
            write pictures of the desktop application's panel to build/popover-shots

The cloud commands take --profile <name> to keep several accounts apart.

Exit codes: 0 done, 64 usage error, 70 failure, 77 could not start (permissions, no display, file exists),
130 interrupted.)";

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
