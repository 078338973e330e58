#pragma once

#include <csignal>
#include <string>
#include <vector>

#include "Core/AtomicFile.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

/// The program itself, run from outside, with what it writes to either stream kept apart.
class QuillantRun {
 public:
  struct Result {
    int exitCode = 0;  ///< Negative: the signal that ended it.
    std::string output;
    std::string errors;
  };

  explicit QuillantRun(const std::vector<std::string>& words, const std::string& displayName = {})
      : QuillantRun(words, {{"DISPLAY", displayName}}) {}
  QuillantRun(const std::vector<std::string>& words, const ChildProcess::Environment& environment)
      : process_(command(words), environment) {}

  pid_t processID() const { return process_.processID(); }

  void kill() { process_.signal(SIGKILL); }
  Result wait() {
    const int exitCode = process_.wait();
    return {exitCode, AtomicFile::read(streams_ / "output"), AtomicFile::read(streams_ / "errors")};
  }

 private:
  std::vector<std::string> command(const std::vector<std::string>& words) const {
    std::vector<std::string> all{"sh",
                                 "-c",
                                 R"(out=$1; err=$2; shift 2; exec "$@" >"$out" 2>"$err")",
                                 "sh",
                                 (streams_ / "output").string(),
                                 (streams_ / "errors").string(),
                                 QUILLANT_PROGRAM};
    all.insert(all.end(), words.begin(), words.end());
    return all;
  }

  TemporaryFolder streams_;
  ChildProcess process_;
};

}  // namespace quillant
