#include "Core/OwningSequence.h"

#include <typeinfo>

namespace quillant {

bool OwningSequence::isCurrent() const {
  using Strand = asio::strand<Executor>;
  // `target` itself does not look at the type in every version of Asio.
  if (executor_.target_type() == typeid(Strand)) return executor_.target<Strand>()->running_in_this_thread();
  return std::this_thread::get_id() == thread_;
}

}  // namespace quillant
