// What capturing alone costs: a screen of 1920x1080 at 60 frames a second, with nothing that encodes.

#include <benchmark/benchmark.h>
#include <chrono>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <sstream>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

#include "Linux/Screen/ScreenStream.h"
#include "Tests/Support/VirtualDisplay.h"

namespace quillant {
namespace {

constexpr int seconds = 5;
constexpr int rate = 60;

double ownCPU() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  const auto inSeconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return inSeconds(usage.ru_utime) + inSeconds(usage.ru_stime);
}

double cpuOf(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string text;
  std::getline(file, text);
  std::istringstream fields(text.substr(text.rfind(')') + 1));
  std::string skipped;
  for (int i = 0; i < 11; ++i) fields >> skipped;
  double user = 0;
  double system = 0;
  fields >> user >> system;
  return (user + system) / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

/// The newest buffer is held until the next comes, as by a file's writer.
class Holder {
 public:
  StreamCallbacks callbacks() {
    return {.onFrame =
                [this](PixelBufferRef buffer, MediaTime) {
                  newest_ = std::move(buffer);
                  ++frames;
                },
            .onStopped = [](const std::exception_ptr&) {}};
  }
  std::atomic<int> frames = 0;

 private:
  PixelBufferRef newest_;
};

/// Reports per second of recording: frames, CPU time here and in the server (with what it draws), pixels.
void capture(benchmark::State& state, const std::string& mode, bool withStream) {
  if (!VirtualDisplay::isAvailable()) return state.SkipWithError("no Xvfb");
  const VirtualDisplay display(1920, 1080);
  std::thread animation([&] {
    display.run({QUILLANT_ANIMATION, mode, "--at", mode == "region" ? "700,400" : "0,0", "--rate",
                 std::to_string(rate), "--duration", std::to_string(seconds + 2)});
  });
  SerialQueue queue("benchmark.samples");
  Holder holder;
  const X11Monitor monitor = X11Layout::read(X11Connection(display.name())).main();
  ScreenStream stream(display.name(), X11Connection::defaultPatience, {monitor, {0, 0, 1920, 1080}},
                      {.width = 1920, .height = 1080, .minimumFrameInterval = {1, rate}}, queue,
                      holder.callbacks());
  std::this_thread::sleep_for(std::chrono::seconds(1));  // until the window is there
  for ([[maybe_unused]] auto _ : state) {
    const double own = ownCPU();
    const double server = cpuOf(display.processID());
    if (withStream) runBlocking(stream.startCapture());
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    if (withStream) runBlocking(stream.stopCapture());
    state.counters["frames/s"] = holder.frames / static_cast<double>(seconds);
    state.counters["own_ms/s"] = (ownCPU() - own) * 1000 / seconds;
    state.counters["server_ms/s"] = (cpuOf(display.processID()) - server) * 1000 / seconds;
    state.counters["Mpixels/s"] = static_cast<double>(stream.pixelsFetched()) / 1e6 / seconds;
  }
  animation.join();
}

BENCHMARK_CAPTURE(capture, still, "still", true)->Iterations(1)->UseRealTime();
BENCHMARK_CAPTURE(capture, region, "region", true)->Iterations(1)->UseRealTime();
BENCHMARK_CAPTURE(capture, region_without_capture, "region", false)->Iterations(1)->UseRealTime();
BENCHMARK_CAPTURE(capture, full, "full", true)->Iterations(1)->UseRealTime();
BENCHMARK_CAPTURE(capture, full_without_capture, "full", false)->Iterations(1)->UseRealTime();

}  // namespace
}  // namespace quillant
