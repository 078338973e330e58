#include <csignal>

#include "Linux/Desktop/CallbackHandOver.h"
#include "quillant/Commands/CommandChain.h"
#include "quillant/PlatformServices.h"

int main(int argc, char** argv) {
  // A reader that has gone away must not end a recording.
  std::signal(SIGPIPE, SIG_IGN);
  // Nor may a limit on the size of files: it is told as a failed write, and what is there is closed.
  std::signal(SIGXFSZ, SIG_IGN);
  const quillant::Arguments arguments(argv, argv + argc);
  quillant::CallbackHandOver::eraseFromArguments(argc, argv);
  quillant::PlatformServices services;
  return quillant::CommandChain(services).run(arguments);
}
