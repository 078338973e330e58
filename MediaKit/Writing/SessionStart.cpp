#include "MediaKit/Writing/SessionStart.h"

#include <algorithm>
#include <array>
#include <limits>

#include "MediaKit/Writing/BoxWriter.h"

namespace quillant::SessionStart {

using namespace MovieBoxes;

namespace {

constexpr std::array<std::uint8_t, 16> userType{0xAC, 0xD4, 0xFC, 0x3C, 0xEC, 0x2E, 0x42, 0x22,
                                                0x87, 0xE3, 0xF7, 0xF9, 0x87, 0xA8, 0xA2, 0xE9};
constexpr std::size_t payloadSize = userType.size() + 12;

MediaTime parse(Bytes payload) {
  Cursor cursor(payload);
  if (!std::ranges::equal(cursor.take(userType.size()), userType)) return MediaTime::invalid();
  const auto value = static_cast<std::int64_t>(cursor.u64());
  const auto timescale = cursor.u32();
  if (timescale > std::numeric_limits<std::int32_t>::max()) return MediaTime::invalid();
  return {value, static_cast<std::int32_t>(timescale)};
}

}  // namespace

std::vector<std::uint8_t> added(Bytes movie, MediaTime start) {
  BoxWriter out;
  out.box(type("moov"), [&] {
    out.copy(child(movie, type("moov")));
    out.box(type("uuid"), [&] {
      out.copy(userType);
      out.u64(static_cast<std::uint64_t>(start.value));
      out.u32(static_cast<std::uint32_t>(start.timescale));
    });
  });
  return out.take();
}

MediaTime read(const File& file) {
  auto movie = file.box(0);
  while (movie && movie->type != type("moov")) movie = file.box(movie->end);
  if (!movie) return MediaTime::invalid();
  for (auto box = file.box(movie->payload); box && box->end <= movie->end; box = file.box(box->end)) {
    if (box->type != type("uuid") || box->end - box->payload != payloadSize) continue;
    if (const auto start = parse(file.read(box->payload, box->end)); start.isValid()) return start;
  }
  return MediaTime::invalid();
}

}  // namespace quillant::SessionStart
