#include "CaptureEngine/DiskWatch.h"

#include <fmt/format.h>

#include "Core/ByteSize.h"

namespace quillant {

std::optional<std::string> DiskWatch::look(std::optional<std::int64_t> freeBytes) {
  if (!freeBytes || *freeBytes >= warnBelow_) return std::nullopt;
  warnBelow_ = *freeBytes / 2;
  return fmt::format("only {} is free — Quillant needs at least {} free so a recording never stops partway",
                     ByteSize::fileSize(*freeBytes), ByteSize::fileSize(DiskPressure::floorBytes));
}

}  // namespace quillant
