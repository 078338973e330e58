#include "MediaKit/Reading/MovieFragments.h"

#include <algorithm>
#include <array>

#include "MediaKit/MediaError.h"

namespace quillant::MovieFragments {

using namespace MovieBoxes;

namespace {

/// Times and sizes above this are nonsense, and sums of a few of them still fit.
constexpr std::uint64_t reasonable = std::uint64_t{1} << 60;
std::uint64_t sane(std::uint64_t value) {
  if (value > reasonable) fail("a number in the file's index is out of range");
  return value;
}

bool isKey(std::uint32_t flags) {
  constexpr std::uint32_t isNotSync = 0x10000;
  return (flags & isNotSync) == 0;
}

struct FragmentHead {
  std::uint32_t track = 0;
  std::uint64_t base = 0;
  Sample defaults;
};

/// `moof` is the offset of the fragment's box: what data offsets count from, unless the fragment says else.
FragmentHead fragmentHead(Bytes payload, const MovieHead& movie, std::uint64_t moof) {
  Cursor cursor(payload);
  const auto flags = cursor.u32() & 0xFFFFFF;
  FragmentHead head{.track = cursor.u32(), .base = moof};
  const auto track = std::ranges::find(movie.tracks, head.track, &TrackHead::id);
  if (track == movie.tracks.end()) fail("a fragment belongs to no track");
  head.defaults = track->defaults;
  if (flags & 0x01) head.base = sane(cursor.u64());
  if (flags & 0x02) cursor.skip(4);
  if (flags & 0x08) head.defaults.duration = cursor.u32();
  if (flags & 0x10) head.defaults.size = cursor.u32();
  if (flags & 0x20) head.defaults.isKeyFrame = isKey(cursor.u32());
  return head;
}

SampleRun sampleRun(Bytes payload, const FragmentHead& head, std::uint64_t time, std::uint64_t offset) {
  Cursor cursor(payload);
  const auto flags = cursor.u32() & 0xFFFFFF;
  SampleRun run{.track = head.track, .time = time, .offset = offset, .count = cursor.u32()};
  if (flags & 0x001)
    run.offset = head.base + static_cast<std::int64_t>(static_cast<std::int32_t>(cursor.u32()));
  sane(run.offset);
  std::optional<bool> firstIsKey;
  if (flags & 0x004) firstIsKey = isKey(cursor.u32());
  run.uniform = head.defaults;
  run.firstIsKeyFrame = firstIsKey.value_or(run.uniform.isKeyFrame);
  const auto fields =
      std::size_t((flags >> 8) & 1) + ((flags >> 9) & 1) + ((flags >> 10) & 1) + ((flags >> 11) & 1);
  if (fields == 0) {
    run.duration = sane(std::uint64_t{run.count} * run.uniform.duration);
    run.byteCount = sane(std::uint64_t{run.count} * run.uniform.size);
    return run;
  }
  if (run.count > cursor.remaining() / (4 * fields)) fail("a fragment promises more samples than it lists");
  run.samples.resize(run.count, head.defaults);
  for (auto& sample : run.samples) {
    if (flags & 0x100) sample.duration = cursor.u32();
    if (flags & 0x200) sample.size = cursor.u32();
    if (flags & 0x400) sample.isKeyFrame = isKey(cursor.u32());
    if (flags & 0x800) cursor.skip(4);
    run.duration += sample.duration;
    run.byteCount += sample.size;
  }
  if (firstIsKey && run.count > 0) run.samples.front().isKeyFrame = *firstIsKey;
  return run;
}

std::vector<SampleRun> fragmentRuns(Bytes payload, const MovieHead& movie, std::uint64_t moof) {
  std::vector<SampleRun> runs;
  for (const auto& box : children(payload)) {
    if (box.type != type("traf")) continue;
    const auto head = fragmentHead(child(box.payload, type("tfhd")), movie, moof);
    Cursor time(child(box.payload, type("tfdt")));
    const bool isWide = time.u32() >> 24 == 1;
    std::uint64_t next = sane(isWide ? time.u64() : time.u32());
    std::uint64_t offset = head.base;
    for (const auto& part : children(box.payload)) {
      if (part.type != type("trun")) continue;
      runs.push_back(sampleRun(part.payload, head, next, offset));
      next = sane(next + runs.back().duration);
      offset = sane(runs.back().offset + runs.back().byteCount);
    }
  }
  return runs;
}

void expectWithin(const std::vector<SampleRun>& runs, std::uint64_t end) {
  for (const auto& run : runs)
    if (run.offset + run.byteCount > end) fail("a fragment's samples lie outside its data");
}

bool startsMovieFile(std::uint32_t boxType) {
  constexpr std::array types{type("ftyp"), type("moov"), type("mdat"),
                             type("wide"), type("free"), type("skip")};
  return std::ranges::find(types, boxType) != types.end();
}

}  // namespace

TrackHead trackHead(Bytes track) {
  TrackHead head;
  Cursor header(child(track, type("tkhd")));
  header.skip((header.u32() >> 24) == 1 ? 16 : 8);
  head.id = header.u32();
  Cursor media(child(child(track, type("mdia")), type("mdhd")));
  media.skip((media.u32() >> 24) == 1 ? 16 : 8);
  head.timescale = media.u32();
  if (head.timescale == 0 || head.timescale > 0x7FFFFFFF) fail("a track has no timescale");
  return head;
}

MovieHead movieHead(Bytes moviePayload) {
  MovieHead head;
  for (const auto& box : children(moviePayload))
    if (box.type == type("trak")) head.tracks.push_back(trackHead(box.payload));
  const auto extends = findChild(moviePayload, type("mvex"));
  head.isFragmented = extends.has_value();
  if (!extends) return head;
  for (const auto& box : children(*extends)) {
    if (box.type != type("trex")) continue;
    Cursor cursor(box.payload);
    cursor.skip(4);
    const auto track = std::ranges::find(head.tracks, cursor.u32(), &TrackHead::id);
    if (track == head.tracks.end()) continue;
    cursor.skip(4);
    track->defaults.duration = cursor.u32();
    track->defaults.size = cursor.u32();
    track->defaults.isKeyFrame = isKey(cursor.u32());
  }
  return head;
}

std::optional<FragmentedMovie> find(const File& file) {
  std::uint64_t offset = 0;
  while (const auto box = file.box(offset)) {
    if (box->type == type("moov")) {
      const auto bytes = file.read(box->payload, box->end);
      auto head = movieHead(bytes);
      if (!head.isFragmented) return std::nullopt;
      return FragmentedMovie{*box, std::move(head)};
    }
    offset = box->end;
  }
  // FFmpeg takes what there is of a torn index for the whole.
  if (const auto first = file.box(0); first && startsMovieFile(first->type))
    fail("the file's index is not whole");
  return std::nullopt;
}

std::uint64_t visit(const File& file, const FragmentedMovie& movie,
                    const std::function<void(const SampleRun&)>& visitor) {
  std::uint64_t wholeEnd = movie.movie.end;
  std::uint64_t offset = wholeEnd;
  std::vector<SampleRun> pending;
  try {
    while (const auto box = file.box(offset)) {
      if (box->type == type("moof")) {
        pending = fragmentRuns(file.read(box->payload, box->end), movie.head, box->offset);
      } else if (box->type == type("mdat")) {
        expectWithin(pending, box->end);
        for (const auto& run : pending) visitor(run);
        if (!pending.empty()) wholeEnd = box->end;
        pending.clear();
      }
      offset = box->end;
    }
  } catch (const MediaError&) {
    // A torn fragment ends what can be played; what stands before it counts.
  }
  return wholeEnd;
}

void visit(Bytes boxes, std::uint64_t offset, const MovieHead& head,
           const std::function<void(const SampleRun&)>& visitor) {
  std::vector<SampleRun> pending;
  for (const auto& box : children(boxes)) {
    const auto end = offset + box.whole.size();
    if (box.type == type("moof")) {
      pending = fragmentRuns(box.payload, head, offset);
    } else if (box.type == type("mdat")) {
      expectWithin(pending, end);
      for (const auto& run : pending) visitor(run);
      pending.clear();
    }
    offset = end;
  }
  if (!pending.empty()) fail("a fragment has no data");
}

}  // namespace quillant::MovieFragments
