#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <sys/types.h>

namespace quillant {

/// A lock where the file system has none: whoever makes the file has it. What a process leaves behind that
/// died is taken away: at once where it ran here, since its identity stands in the file, and otherwise once
/// the file is older than anybody holds it. Blocking, but waits for nobody; throws `FileError`.
class OwnerFile {
 public:
  /// Whether `error`, an error number of a call that locks, says that there are no locks here.
  static bool isNeeded(int error);
  /// Nothing while somebody else has it.
  static std::optional<OwnerFile> take(std::filesystem::path file, std::chrono::seconds longestHeld);
  /// The process that has it, 0 if it runs elsewhere; nothing if nobody has it.
  static std::optional<pid_t> owner(const std::filesystem::path& file);

  OwnerFile(OwnerFile&& other) noexcept;
  OwnerFile& operator=(OwnerFile&&) = delete;
  ~OwnerFile();

 private:
  OwnerFile(std::filesystem::path file, std::string identity);

  std::filesystem::path file_;  ///< Empty once it has been moved from.
  std::string identity_;        ///< What is in it.
};

}  // namespace quillant
