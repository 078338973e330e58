#pragma once

#include <cstddef>

/// Linked with this, a program counts what it allocates.
namespace quillant::Allocations {

/// By `new`, on all threads, since the program began.
std::size_t count();

}  // namespace quillant::Allocations
