#pragma once

#include "Core/Signal.h"

namespace quillant {

/// What a countdown shows.
struct CountdownModel {
  int remaining = 0;  ///< Seconds.
  Signal<> changed;
};

}  // namespace quillant
