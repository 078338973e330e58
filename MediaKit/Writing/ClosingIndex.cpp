#include "MediaKit/Writing/ClosingIndex.h"

#include <algorithm>
#include <map>
#include <utility>

#include "Core/MediaTime.h"
#include "MediaKit/Reading/MovieFragments.h"

namespace quillant::ClosingIndex {

using namespace MovieBoxes;
using MovieFragments::SampleRun;

namespace {

/// Builds boxes inside boxes; their sizes are filled in when they end.
class BoxWriter {
 public:
  template <class Content>
  void box(std::uint32_t boxType, Content&& content) {
    const auto start = bytes_.size();
    u32(0);
    u32(boxType);
    content();
    const auto size = static_cast<std::uint32_t>(bytes_.size() - start);
    for (std::size_t i = 0; i < 4; ++i) bytes_[start + i] = static_cast<std::uint8_t>(size >> (24 - 8 * i));
  }
  void u32(std::uint32_t value) { number(value, 4); }
  void u64(std::uint64_t value) { number(value, 8); }
  void copy(Bytes bytes) { bytes_.insert(bytes_.end(), bytes.begin(), bytes.end()); }
  std::vector<std::uint8_t> take() { return std::move(bytes_); }

 private:
  void number(std::uint64_t value, int count) {
    for (int i = count - 1; i >= 0; --i) bytes_.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
  }
  std::vector<std::uint8_t> bytes_;
};

/// Equal values that follow one another, counted.
class RunLengths {
 public:
  void add(std::uint32_t value) {
    if (runs_.empty() || runs_.back().second != value) runs_.emplace_back(0, value);
    ++runs_.back().first;
  }
  const std::vector<std::pair<std::uint32_t, std::uint32_t>>& runs() const { return runs_; }

 private:
  std::vector<std::pair<std::uint32_t, std::uint32_t>> runs_;
};

/// The samples of one track.
class SampleTables {
 public:
  void add(const SampleRun& run) {
    if (sizes_.empty())
      start_ = run.time;
    else
      // What a fragment could not know when it closed: how long its last sample would last.
      closeSample(run.time - sampleStart_);
    sampleStart_ = run.time;
    chunks_.emplace_back(run.offset, run.count);
    for (std::uint32_t i = 0; i < run.count; ++i) {
      const auto& sample = run.samples.empty() ? run.uniform : run.samples[i];
      if (i > 0) {
        closeSample(sampleDuration_);
        sampleStart_ += sampleDuration_;
      }
      sampleDuration_ = sample.duration;
      sizes_.push_back(sample.size);
      if (sample.isKeyFrame) keyFrames_.push_back(static_cast<std::uint32_t>(sizes_.size()));
    }
  }

  void finish() { closeSample(sampleDuration_); }
  std::uint64_t start() const { return start_; }
  std::uint64_t end() const { return sampleStart_ + sampleDuration_; }

  void write(BoxWriter& out) const;

 private:
  void closeSample(std::uint64_t duration) { durations_.add(static_cast<std::uint32_t>(duration)); }

  std::uint64_t start_ = 0;
  std::uint64_t sampleStart_ = 0;  ///< Of the last sample, whose duration is still open.
  std::uint64_t sampleDuration_ = 0;
  RunLengths durations_;
  std::vector<std::uint32_t> sizes_;
  std::vector<std::uint32_t> keyFrames_;  ///< Numbers of samples, from 1.
  std::vector<std::pair<std::uint64_t, std::uint32_t>> chunks_;
};

void SampleTables::write(BoxWriter& out) const {
  const auto table = [&](std::uint32_t boxType, std::size_t count, auto&& entries) {
    out.box(boxType, [&] {
      out.u32(0);
      out.u32(static_cast<std::uint32_t>(count));
      entries();
    });
  };
  table(type("stts"), durations_.runs().size(), [&] {
    for (const auto& [count, duration] : durations_.runs()) {
      out.u32(count);
      out.u32(duration);
    }
  });
  if (keyFrames_.size() < sizes_.size())
    table(type("stss"), keyFrames_.size(), [&] {
      for (const auto number : keyFrames_) out.u32(number);
    });
  RunLengths chunkLengths;
  for (const auto& chunk : chunks_) chunkLengths.add(chunk.second);
  table(type("stsc"), chunkLengths.runs().size(), [&] {
    std::uint32_t firstChunk = 1;
    for (const auto& [count, samples] : chunkLengths.runs()) {
      out.u32(firstChunk);
      out.u32(samples);
      out.u32(1);  // the one sample description
      firstChunk += count;
    }
  });
  out.box(type("stsz"), [&] {
    out.u32(0);
    out.u32(0);
    out.u32(static_cast<std::uint32_t>(sizes_.size()));
    for (const auto size : sizes_) out.u32(size);
  });
  table(type("co64"), chunks_.size(), [&] {
    for (const auto& chunk : chunks_) out.u64(chunk.first);
  });
}

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
  IndexWriter(const MovieFragments::MovieHead& head, std::map<std::uint32_t, SampleTables> tables)
      : head_(head), tables_(std::move(tables)) {
    for (auto& entry : tables_) entry.second.finish();
  }

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
  std::map<std::uint32_t, SampleTables> tables_;
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

std::vector<std::uint8_t> make(const File& file) {
  const auto movie = MovieFragments::find(file);
  if (!movie) fail("the file has no fragments");
  std::map<std::uint32_t, SampleTables> tables;
  MovieFragments::visit(file, *movie, [&](const SampleRun& run) { tables[run.track].add(run); });
  const auto bytes = file.read(movie->movie.offset, movie->movie.end);
  return IndexWriter(movie->head, std::move(tables)).write(children(bytes).front());
}

}  // namespace quillant::ClosingIndex
