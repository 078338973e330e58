#include "quillant/Commands/CameraContentionCLI.h"

#include <atomic>
#include <chrono>
#include <fmt/format.h>
#include <future>
#include <thread>
#include <utility>

#include "quillant/Commands/RecordOptions.h"
#include "quillant/Commands/TrialRecording.h"

namespace quillant {

namespace {

using namespace std::chrono_literals;

/// A preview that can be opened and closed again. Used on one thread at a time.
class Preview : CameraPreviewLayer {
 public:
  explicit Preview(CameraSessionBroker& broker) : broker_(broker) {}
  ~Preview() override { close(); }
  Preview(const Preview&) = delete;
  Preview& operator=(const Preview&) = delete;

  /// Throws `FacecamError`.
  void open() {
    token_ = broker_.attachPreview();
    broker_.connectPreview(*this);
  }
  void close() {
    if (!token_) return;
    broker_.disconnectPreview(*this);
    broker_.release(std::exchange(token_, nullptr));
  }
  void toggle() { token_ ? close() : open(); }
  /// Until the camera runs. Throws `SelfCheck::Failure`.
  void waitForFrames() const {
    constexpr int enough = 3;
    for (const auto deadline = std::chrono::steady_clock::now() + 10s; shown_ < enough;
         std::this_thread::sleep_for(5ms))
      if (std::chrono::steady_clock::now() > deadline)
        throw SelfCheck::Failure(ExitCode::failure, "the camera delivers nothing");
  }

 private:
  void show(PixelBufferRef) override { ++shown_; }

  CameraSessionBroker& broker_;
  CameraSessionBroker::Token token_;
  std::atomic<int> shown_ = 0;
};

struct Cycle {
  const char* name;
  bool isOpenBefore;
  bool isToggledWhileRecording;
};

constexpr Cycle cycles[] = {{"no preview", false, false},
                            {"a preview throughout", true, false},
                            {"a preview closed while recording", true, true},
                            {"a preview opened while recording", false, true}};

std::optional<std::int64_t> offsetIn(const Cycle& cycle, const CaptureServices& services,
                                     CameraSessionBroker& broker) {
  Preview preview(broker);
  if (cycle.isOpenBefore) {
    preview.open();
    preview.waitForFrames();
  }
  auto toggled = std::async(std::launch::async, [&] {
    std::this_thread::sleep_for(500ms);
    if (cycle.isToggledWhileRecording) preview.toggle();
  });
  const TrialRecording recording(services, {.facecam = true, .telemetry = false});
  toggled.get();
  return recording.artifacts().facecamOffsetMs;
}

}  // namespace

bool CameraContentionCLI::passes(const std::vector<std::string>& words) {
  if (!words.empty()) throw RecordOptions::ParseError(RecordOptions::ParseError::UnknownFlag{words[0]});
  bool passed = true;
  for (const auto& cycle : cycles) {
    const auto offset = offsetIn(cycle, services_, broker_);
    tell(fmt::format("{}: {}", cycle.name, offset ? fmt::format("offset {} ms", *offset) : "no frames"));
    passed = passed && offset && *offset >= 0;
  }
  return passed;
}

}  // namespace quillant
