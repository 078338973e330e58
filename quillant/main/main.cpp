#include <csignal>

#include "quillant/CommandChain.h"
#include "quillant/PlatformServices.h"

int main(int argc, char** argv) {
  // A reader that has gone away must not end a recording.
  std::signal(SIGPIPE, SIG_IGN);
  quillant::PlatformServices services;
  return quillant::CommandChain(services).run(quillant::Arguments(argv, argv + argc));
}
