#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Core/FileDescriptor.h"
#include "Core/Task.h"

namespace quillant {

/// The one desktop application of a user's session. A later start finds it and hands it what it was started
/// with.
class SingleInstance {
 public:
  /// What a later start was started with: the files to open, or nothing.
  using Words = std::vector<std::string>;

  /// Null while another process is the one. `onStart` is called on `executor`, a strand or the main thread's,
  /// for each later start, until this is destroyed there. Blocking, for a moment; throws `FileError`.
  static std::unique_ptr<SingleInstance> claim(const Executor& executor, std::function<void(Words)> onStart);
  /// Hands `words` to the one; false if it does not answer. Blocking, for seconds at most; throws
  /// `FileError`.
  static bool tell(const Words& words);

  ~SingleInstance();
  SingleInstance(const SingleInstance&) = delete;
  SingleInstance& operator=(const SingleInstance&) = delete;

 private:
  struct Listening;
  SingleInstance(FileDescriptor lock, const Executor& executor, std::function<void(Words)> onStart);
  static Task<> listen(std::shared_ptr<Listening> listening);

  const FileDescriptor lock_;  ///< Held until the process ends, however it ends.
  const std::shared_ptr<Listening> listening_;
};

}  // namespace quillant
