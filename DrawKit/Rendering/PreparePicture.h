#pragma once

#include "DrawKit/BandPool.h"
#include "DrawKit/Rendering/BlockStore.h"
#include "DrawKit/Rendering/Preparation.h"
#include "DrawKit/Rendering/PreparedPicture.h"

namespace quillant {

/// Does what a `Preparation` says. `result` comes empty. `PreparedPicture` says what becomes of it.
void prepare(const Preparation& preparation, BlockStore& store, BandPool& pool, PreparedPicture& result);

}  // namespace quillant
