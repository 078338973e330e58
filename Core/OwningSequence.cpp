#include "Core/OwningSequence.h"

namespace quillant {

bool OwningSequence::isCurrent() const {
  if (const auto* strand = executor_.target<asio::strand<Executor>>())
    return strand->running_in_this_thread();
  return std::this_thread::get_id() == thread_;
}

}  // namespace quillant
