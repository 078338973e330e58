#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include "Core/FileDescriptor.h"
#include "MediaKit/MediaError.h"
#include "MediaKit/Reading/MovieFragments.h"
#include "MediaKit/Writing/AACEncoder.h"
#include "MediaKit/Writing/FragmentMuxer.h"
#include "MediaKit/Writing/H264Encoder.h"
#include "MediaKit/Writing/SessionStart.h"

namespace quillant {
namespace {

using Bytes = std::vector<std::uint8_t>;

void expect(bool holds) {
  if (!holds) std::abort();
}

/// A fragmented file of a picture track and a sound track, with packets of nothing.
Bytes recording() {
  const VideoInputSettings video{192, 108, 30};
  const AudioInputSettings audio{2, 160'000};
  FragmentMuxer muxer(MediaContainer::mp4);
  muxer.addVideo(video, H264Encoder(video).configuration());
  muxer.addAudio(audio, AACEncoder(audio).configuration());
  auto head = muxer.open();
  Bytes file = std::move(head.fileType);
  const auto movie = SessionStart::added(head.movie, {7, 1000});
  file.insert(file.end(), movie.begin(), movie.end());
  for (std::int64_t i = 0; i < 9; ++i) {
    muxer.write(0, {Bytes(static_cast<std::size_t>(10 + i)), i * 3000, 3000, i % 3 == 0});
    muxer.write(1, {Bytes(8), i * 1024, 1024, true});
    if (i % 3 != 2) continue;
    const auto fragment = muxer.closeFragment();
    file.insert(file.end(), fragment.begin(), fragment.end());
  }
  return file;
}

struct Contents {
  std::uint64_t end = 0;
  std::vector<MovieFragments::SampleRun> runs;
};

Contents read(const MovieBoxes::File& file) {
  Contents contents;
  const auto movie = MovieFragments::find(file);
  if (!movie) return contents;
  contents.end = MovieFragments::visit(file, *movie, [&](const auto& run) { contents.runs.push_back(run); });
  return contents;
}

/// What is read lies in the file, and is all the same when what follows is cut off.
void tryFile(const Bytes& bytes) {
  static const FileDescriptor memory(::memfd_create("movie", MFD_CLOEXEC));
  expect(::ftruncate(memory.get(), 0) == 0);
  expect(::pwrite(memory.get(), bytes.data(), bytes.size(), 0) == std::ssize(bytes));
  try {
    const auto contents = read({memory.get(), bytes.size(), {}});
    expect(contents.end <= bytes.size());
    for (const auto& run : contents.runs) {
      expect(run.offset + run.byteCount <= contents.end);
      expect(run.samples.empty() || run.samples.size() == run.count);
    }
    const auto again = read({memory.get(), contents.end, {}});
    expect(contents.end == 0 || (again.end == contents.end && again.runs.size() == contents.runs.size()));
    SessionStart::read({memory.get(), bytes.size(), {}});
  } catch (const MediaError&) {
  }
}

}  // namespace
}  // namespace quillant

/// The bytes are tried as a file, and as changes of a real one, three bytes each: where, and what stands
/// there.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillant;
  tryFile(Bytes(data, data + size));

  static const Bytes whole = recording();
  auto changed = whole;
  for (std::size_t at = 0; at + 3 <= size; at += 3)
    changed[(std::size_t{data[at]} << 8 | data[at + 1]) % changed.size()] = data[at + 2];
  tryFile(changed);
  return 0;
}
