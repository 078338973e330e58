#pragma once

#include <filesystem>
#include <functional>

#include "Core/OwningSequence.h"
#include "Core/Signal.h"
#include "Core/Task.h"
#include "quillant/Models/Preferences.h"

namespace quillant {

/// The preferences and the file that they are kept in. Belongs to the main thread.
///
/// What is changed counts at once and is written behind it, in the order of the changes, on a thread that
/// nobody waits for. A file that cannot be written is logged: the choice then lasts as long as the program.
class PreferenceStore {
 public:
  /// Reads the file; one that is missing or broken counts as empty. Blocking, for a moment.
  explicit PreferenceStore(std::filesystem::path file);

  const Preferences& value() const { return value_; }
  void change(const std::function<void(Preferences&)>& change);
  /// Ends once everything that was changed before has been written.
  Task<> written();

  Signal<> changed;

 private:
  const std::filesystem::path file_;
  const OwningSequence sequence_;
  const Executor writing_;  ///< A strand of the disk pool.
  Preferences value_;
};

}  // namespace quillant
