#include "MediaKit/Writing/ClosingIndex.h"

#include <algorithm>
#include <utility>

#include "Core/MediaTime.h"
#include "MediaKit/Writing/BoxWriter.h"

namespace quillant {

using namespace MovieBoxes;

namespace {

/// A header box with its times in 64 bits and its duration set. `between` bytes stand between the times and
/// the duration.
void writeHeader(BoxWriter& out, const Box& box, std::size_t between, std::uint64_t duration) {
  Cursor cursor(box.payload);
  const auto versionAndFlags = cursor.u32();
  const bool isWide = versionAndFlags >> 24 == 1;
  const auto number = [&] { return isWide ? cursor.u64() : cursor.u32(); };
  out.box(box.type, [&] {
    out.u32((versionAndFlags & 0xFFFFFF) | 0x01000000);
    out.u64(number());
    out.u64(number());
    out.copy(cursor.take(between));
    number();
    out.u64(duration);
    out.copy(cursor.take(cursor.remaining()));
  });
}

/// A copy of a box of boxes, in which `replace` writes those that it answers true for.
template <class Replace>
void writeParent(BoxWriter& out, const Box& box, Replace&& replace) {
  out.box(box.type, [&] {
    for (const auto& part : children(box.payload))
      if (!replace(part)) out.copy(part.whole);
  });
}

class IndexWriter {
 public:
  IndexWriter(const MovieFragments::MovieHead& head, const std::map<std::uint32_t, SampleTables>& tables)
      : head_(head), tables_(tables) {}

  std::vector<std::uint8_t> write(const Box& movie) {
    Cursor header(child(movie.payload, type("mvhd")));
    header.skip((header.u32() >> 24) == 1 ? 16 : 8);
    timescale_ = header.u32();
    writeParent(out_, movie, [&](const Box& part) {
      if (part.type == type("mvhd")) {
        std::uint64_t longest = 0;
        for (const auto& track : head_.tracks) longest = std::max(longest, movieDuration(track));
        writeHeader(out_, part, 4, longest);
        return true;
      }
      if (part.type == type("trak")) writeTrack(part);
      return part.type == type("trak") || part.type == type("mvex");
    });
    return out_.take();
  }

 private:
  std::uint64_t inMovieTime(std::uint64_t ticks, const MovieFragments::TrackHead& track) const {
    return MediaTime{static_cast<std::int64_t>(ticks), static_cast<std::int32_t>(track.timescale)}
        .converted(static_cast<std::int32_t>(timescale_))
        .value;
  }
  std::uint64_t movieDuration(const MovieFragments::TrackHead& track) const {
    const auto found = tables_.find(track.id);
    return found == tables_.end() ? 0 : inMovieTime(found->second.end(), track);
  }

  void writeTrack(const Box& box);
  void writeMedia(const Box& box, const SampleTables& tables);
  void writeLateStart(const SampleTables& tables, const MovieFragments::TrackHead& track);

  const MovieFragments::MovieHead& head_;
  const std::map<std::uint32_t, SampleTables>& tables_;
  std::uint32_t timescale_ = 0;
  BoxWriter out_;
};

void IndexWriter::writeTrack(const Box& box) {
  const auto id = MovieFragments::trackHead(box.payload).id;
  const auto track = std::ranges::find(head_.tracks, id, &MovieFragments::TrackHead::id);
  const auto found = tables_.find(id);
  // A track that never got a sample is left out.
  if (found == tables_.end()) return;
  writeParent(out_, box, [&](const Box& part) {
    if (part.type == type("tkhd")) {
      writeHeader(out_, part, 8, movieDuration(*track));
      if (found->second.start() > 0) writeLateStart(found->second, *track);
      return true;
    }
    if (part.type == type("mdia")) writeMedia(part, found->second);
    return part.type == type("mdia");
  });
}

void IndexWriter::writeLateStart(const SampleTables& tables, const MovieFragments::TrackHead& track) {
  out_.box(type("edts"), [&] {
    out_.box(type("elst"), [&] {
      out_.u32(0x01000000);
      out_.u32(2);
      const auto edit = [&](std::uint64_t duration, std::int64_t mediaTime) {
        out_.u64(duration);
        out_.u64(static_cast<std::uint64_t>(mediaTime));
        out_.u32(0x00010000);  // at normal speed
      };
      const auto start = inMovieTime(tables.start(), track);
      edit(start, -1);
      edit(movieDuration(track) - start, 0);
    });
  });
}

void IndexWriter::writeMedia(const Box& box, const SampleTables& tables) {
  writeParent(out_, box, [&](const Box& part) {
    if (part.type == type("mdhd")) {
      writeHeader(out_, part, 4, tables.end() - tables.start());
      return true;
    }
    if (part.type != type("minf")) return false;
    writeParent(out_, part, [&](const Box& inner) {
      if (inner.type != type("stbl")) return false;
      out_.box(type("stbl"), [&] {
        for (const auto& table : children(inner.payload))
          if (table.type == type("stsd")) out_.copy(table.whole);
        tables.write(out_);
      });
      return true;
    });
    return true;
  });
}

}  // namespace

ClosingIndex::ClosingIndex(std::vector<std::uint8_t> movie)
    : movie_(std::move(movie)), head_(MovieFragments::movieHead(child(movie_, type("moov")))) {}

void ClosingIndex::add(Bytes boxes, std::uint64_t offset) {
  MovieFragments::visit(boxes, offset, head_, [this](const auto& run) { tables_[run.track].add(run); });
}

std::vector<std::uint8_t> ClosingIndex::finish() {
  for (auto& entry : tables_) entry.second.finish();
  return IndexWriter(head_, tables_).write(children(movie_).front());
}

}  // namespace quillant
