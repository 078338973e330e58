// What it takes to close a recording of four hours and 10 GB: 60 pictures a second that come as a real clock
// stamps them, and two tracks of sound. The file is sparse: of each fragment only its own index reaches the
// disk.

#include <algorithm>
#include <atomic>
#include <benchmark/benchmark.h>
#include <chrono>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <malloc.h>
#include <random>
#include <string>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "MediaKit/Reading/AssetProbe.h"
#include "MediaKit/Writing/AACEncoder.h"
#include "MediaKit/Writing/FragmentFile.h"
#include "MediaKit/Writing/H264Encoder.h"

namespace {

std::atomic<bool> isSparse = false;

long writeNow(int file, const void* bytes, std::size_t count, off_t offset) {
  return ::syscall(SYS_pwrite64, file, bytes, count, offset);
}

}  // namespace

/// In the place of the C library's: leaves a hole where the media of a fragment would stand.
extern "C" ssize_t pwrite(int file, const void* bytes, std::size_t count, off_t offset) {
  constexpr std::size_t indexSize = 16 << 10;
  if (!isSparse || count <= indexSize) return writeNow(file, bytes, count, offset);
  writeNow(file, bytes, indexSize, offset);
  writeNow(file, "", 1, offset + static_cast<off_t>(count) - 1);
  return static_cast<ssize_t>(count);
}

namespace {

using namespace quillant;
using Clock = std::chrono::steady_clock;

constexpr int fragmentCount = 4 * 3600 * 2 / 3;  // of 1.5 s each
constexpr int picturesEach = 90;
constexpr int packetsEach = 70;
constexpr std::size_t fileSize = 10'000'000'000;

std::size_t allocated() {
  const auto now = ::mallinfo2();
  return now.uordblks + now.hblkhd;
}

double megabytes(std::size_t bytes) {
  return static_cast<double>(bytes) / 1e6;
}

/// From a line of what the system tells of this process, such as "VmHWM:".
std::size_t memory(const std::string& line) {
  std::ifstream status("/proc/self/status");
  std::size_t kilobytes = 0;
  for (std::string word; status >> word && word != line;) continue;
  status >> kilobytes;
  return kilobytes << 10;
}

class Recording {
 public:
  explicit Recording(const std::filesystem::path& path) : muxer_(MediaContainer::mp4) {
    const VideoInputSettings video{1920, 1080, 60};
    muxer_.addVideo(video, H264Encoder(video).configuration());
    for (const AudioInputSettings audio : {AudioInputSettings{1, 96'000}, AudioInputSettings{2, 160'000}})
      muxer_.addAudio(audio, AACEncoder(audio).configuration());
    file_ = std::make_unique<FragmentFile>(path, muxer_.open());
  }

  void append(int fragment) {
    EncodedPacket picture{.data = std::vector<std::uint8_t>(fileSize / fragmentCount / picturesEach)};
    for (int i = 0; i < picturesEach; ++i) {
      const std::int64_t grid = (std::int64_t{fragment} * picturesEach + i + 1) * 1500;
      picture.time = videoTime_;
      picture.duration = grid + static_cast<int>(random_() % 301) - 150 - videoTime_;
      picture.isKeyFrame = i == 0;
      videoTime_ += picture.duration;
      muxer_.write(0, picture);
    }
    for (int i = 0; i < packetsEach; ++i)
      for (const std::size_t track : {1, 2}) {
        const std::int64_t time = (std::int64_t{fragment} * packetsEach + i) * 1024;
        muxer_.write(track, {std::vector<std::uint8_t>(200 * track + random_() % 100), time, 1024, true});
      }
    file_->append(muxer_.closeFragment());
  }
  void waitForTheDisk(std::size_t backlog) {
    while (file_->backlog() > backlog) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  FragmentFile& file() { return *file_; }

 private:
  FragmentMuxer muxer_;
  std::unique_ptr<FragmentFile> file_;
  std::minstd_rand random_;
  std::int64_t videoTime_ = 0;
};

void closing(benchmark::State& state) {
  const auto path =
      std::filesystem::temp_directory_path() / fmt::format("quillant-closing-{}.mp4", ::getpid());
  for ([[maybe_unused]] auto _ : state) {
    Recording recording(path);
    isSparse = true;
    const auto before = allocated();
    for (int i = 0; i < fragmentCount; ++i) {
      recording.append(i);
      recording.waitForTheDisk(32 << 20);
    }
    recording.waitForTheDisk(0);
    isSparse = false;
    state.counters["tables_MB"] = megabytes(allocated() - before);

    const auto end = std::filesystem::file_size(path);
    std::ofstream("/proc/self/clear_refs") << 5;  // the peak starts again from here
    const auto resident = memory("VmRSS:");
    const auto begin = Clock::now();
    recording.file().close();
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - begin).count());
    state.counters["peak_MB"] = megabytes(memory("VmHWM:"));
    state.counters["closing_MB"] = megabytes(memory("VmHWM:") - resident);
    state.counters["file_MB"] = megabytes(end);
    state.counters["index_MB"] = megabytes(std::filesystem::file_size(path) - end);
    for (const auto& warning : recording.file().warnings()) state.SkipWithError(warning.c_str());
    if (AssetProbe::probe(path).duration < MediaTime{4 * 3600 - 1, 1})
      state.SkipWithError("the index does not cover all four hours");
  }
  std::filesystem::remove(path);
}

BENCHMARK(closing)->Iterations(1)->Repetitions(3)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
