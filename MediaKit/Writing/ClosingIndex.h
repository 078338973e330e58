#pragma once

#include <cstdint>
#include <vector>

#include "MediaKit/Reading/MovieBoxes.h"

namespace quillant::ClosingIndex {

/// The movie box of an ordinary file for all whole fragments of `file`: that which the file began with, its
/// tables of samples filled in. Reads the fragments' own indexes again, so that nothing has to be remembered
/// while a recording runs.
std::vector<std::uint8_t> make(const MovieBoxes::File& file);

}  // namespace quillant::ClosingIndex
