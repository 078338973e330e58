#include "MediaKit/Writing/AssetWriter.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <fmt/format.h>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

#include "Core/QueueTask.h"
#include "Core/SerialQueue.h"
#include "MediaKit/Writing/PictureConverter.h"
#include "MediaKit/Writing/WriterPipeline.h"

namespace quillant {

namespace {

using Clock = WriterPipeline::Clock;

/// Pictures that may wait for the encoder, a quarter of a second of them: a keyframe of a busy screen takes
/// as long as several others, and other programs want the processor now and then.
std::int64_t longestVideoQueue(const VideoInputSettings& settings) {
  return std::max(4, settings.expectedFrameRate / 4);
}

constexpr std::int64_t longestAudioQueue = 2 * AACEncoder::timescale;  ///< Samples.

/// What cannot keep up when an input is not ready.
enum class Bottleneck { encoder, disk };

/// What was dropped because of one of them.
struct Refusals {
  std::atomic<std::uint64_t> frames = 0;
  std::atomic<std::uint64_t> sound = 0;  ///< Samples at 48,000 Hz.
};

std::vector<std::string> describe(const Refusals& refusals, std::string_view what) {
  std::vector<std::string> texts;
  if (const auto frames = refusals.frames.load(); frames > 0)
    texts.push_back(fmt::format("{} {} dropped because {} could not keep up", frames,
                                frames == 1 ? "frame was" : "frames were", what));
  if (const auto sound = refusals.sound.load(); sound > 0)
    texts.push_back(fmt::format("{:.2f} s of sound are silent because {} could not keep up",
                                static_cast<double>(sound) / AACEncoder::timescale, what));
  return texts;
}

/// Decides from the state of the queue at each picture whether the encoder has fallen behind.
class Pace {
 public:
  /// True if it is time to encode faster, which comes before pictures are dropped. `refused` counts those
  /// that were dropped because of the encoder in total.
  bool isBehind(bool queueWasLong, std::uint64_t refused) {
    constexpr int limit = 12;
    score_ += queueWasLong ? 1 : (score_ > 0 ? -1 : 0);
    score_ += 3 * static_cast<int>(refused - std::exchange(refused_, refused));
    if (score_ < limit) return false;
    score_ = 0;
    return true;
  }

 private:
  int score_ = 0;
  std::uint64_t refused_ = 0;
};

}  // namespace

struct AssetWriter::Implementation {
  struct InputState {
    bool isVideo = false;
    std::size_t index = 0;  ///< Among the inputs of its kind.
    bool isFinished = false;
    std::int64_t longestQueue = 0;
    std::atomic<std::int64_t> queued = 0;       ///< Pictures, or samples.
    std::optional<PictureConverter> converter;  ///< The conversion's.
    std::int64_t lastTime = -1;                 ///< The conversion's: of the picture converted last.
    Pace pace;                                  ///< The encoder's.
  };

  InputState& state(Input input) { return *inputs[static_cast<std::size_t>(input)]; }
  /// What keeps an input that is written to from taking more.
  std::optional<Bottleneck> bottleneck(const InputState& input) const;
  Refusals& refusals(Bottleneck cause) { return refused[static_cast<std::size_t>(cause)]; }
  Status status() const;
  void fail(std::exception_ptr reason);
  /// Runs `work` on `queue` while the writer is writing; what it throws ends that.
  template <class Work>
  void run(SerialQueue& queue, Work work);
  void convertPicture(InputState& input, const PixelBuffer& buffer, MediaTime time,
                      Clock::time_point arrived);
  void encodePicture(InputState& input, const EncoderPicture& picture, std::int64_t time,
                     Clock::time_point arrived);
  void giveWay(InputState& input);
  void finish();

  WriterPipeline::Settings settings;
  std::size_t largestBacklog = 0;
  std::vector<std::unique_ptr<InputState>> inputs;
  std::optional<MediaTime> sessionStart;

  mutable std::mutex mutex;
  Status currentStatus = Status::unknown;
  std::exception_ptr error;
  std::vector<std::string> warnings;

  std::array<Refusals, 2> refused;  ///< By `Bottleneck`.
  std::atomic<std::uint64_t> framesAppended = 0;
  std::atomic<std::uint64_t> framesEncoded = 0;
  std::atomic<std::uint64_t> pixelsConverted = 0;
  std::atomic<bool> isAbandoned = false;
  std::unique_ptr<WriterPipeline> pipeline;
  // Last, to be joined before the rest goes; each before the one that it hands to.
  SerialQueue encoding{"quillant.media.encoder"};
  SerialQueue conversion{"quillant.media.convert"};
};

std::optional<Bottleneck> AssetWriter::Implementation::bottleneck(const InputState& input) const {
  // First, because an encoder that works faster makes more for the disk to write.
  if (pipeline->file().backlog() >= largestBacklog) return Bottleneck::disk;
  if (input.queued >= input.longestQueue) return Bottleneck::encoder;
  return std::nullopt;
}

AssetWriter::Status AssetWriter::Implementation::status() const {
  const std::lock_guard lock(mutex);
  // The disk may have refused something that the encoder has not looked at yet.
  return currentStatus == Status::writing && pipeline->file().error() ? Status::failed : currentStatus;
}

void AssetWriter::Implementation::fail(std::exception_ptr reason) {
  const std::lock_guard lock(mutex);
  currentStatus = Status::failed;
  if (!error) error = std::move(reason);
}

template <class Work>
void AssetWriter::Implementation::run(SerialQueue& queue, Work work) {
  queue.async([this, work = std::move(work)]() mutable {
    if (isAbandoned || status() != Status::writing) return;
    try {
      work();
    } catch (...) {
      fail(std::current_exception());
    }
  });
}

void AssetWriter::Implementation::convertPicture(InputState& input, const PixelBuffer& buffer, MediaTime time,
                                                 Clock::time_point arrived) {
  const auto ticks = time.converted(H264Encoder::timescale).value;
  if (ticks <= input.lastTime) {  // too soon after the one before
    --input.queued;
    return;
  }
  input.lastTime = ticks;
  auto converted = input.converter->convert(buffer);
  pixelsConverted += converted.pixelsConverted;
  run(encoding, [this, &input, picture = std::move(converted.picture), ticks, arrived] {
    encodePicture(input, *picture, ticks, arrived);
  });
}

void AssetWriter::Implementation::encodePicture(InputState& input, const EncoderPicture& picture,
                                                std::int64_t time, Clock::time_point arrived) {
  const bool queueWasLong = input.queued-- > input.longestQueue / 2;
  pipeline->encode(input.index, picture, time, arrived);
  ++framesEncoded;
  if (input.pace.isBehind(queueWasLong, refusals(Bottleneck::encoder).frames)) giveWay(input);
}

void AssetWriter::Implementation::giveWay(InputState& input) {
  if (!pipeline->makeFaster(input.index)) return;
  const std::string text =
      "the encoder could not keep up and was set to work faster: the file is larger for it";
  const std::lock_guard lock(mutex);
  if (warnings.empty()) warnings.push_back(text);
}

/// Where nothing that was appended meanwhile can come after it.
void AssetWriter::Implementation::finish() {
  if (!pipeline) return;
  try {
    pipeline->finish();  // whatever has failed, what was encoded before it is worth its index
    if (const auto refusal = pipeline->file().error()) std::rethrow_exception(refusal);
  } catch (...) {
    fail(std::current_exception());
    return;
  }
  const std::lock_guard lock(mutex);
  if (currentStatus == Status::writing) currentStatus = Status::completed;
}

AssetWriter::AssetWriter(std::filesystem::path path, MediaContainer container, MediaTime fragmentInterval,
                         std::size_t largestBacklog)
    : implementation_(std::make_unique<Implementation>()) {
  implementation_->largestBacklog = largestBacklog;
  auto& settings = implementation_->settings;
  settings.path = std::move(path);
  settings.container = container;
  settings.fragmentInterval = std::chrono::nanoseconds(fragmentInterval.converted(1'000'000'000).value);
}

AssetWriter::~AssetWriter() {
  auto& self = *implementation_;
  self.isAbandoned = true;
  // With its timer, which belongs to the queue.
  self.conversion.sync([] {});
  self.encoding.sync([&] { self.pipeline.reset(); });
}

AssetWriter::Input AssetWriter::addVideo(const VideoInputSettings& settings) {
  auto& self = *implementation_;
  auto& state = *self.inputs.emplace_back(std::make_unique<Implementation::InputState>());
  state.isVideo = true;
  state.index = self.settings.video.size();
  state.longestQueue = longestVideoQueue(settings);
  state.converter.emplace(settings.width, settings.height);
  self.settings.video.push_back(settings);
  return Input(self.inputs.size() - 1);
}

AssetWriter::Input AssetWriter::addAudio(const AudioInputSettings& settings) {
  auto& self = *implementation_;
  auto& state = *self.inputs.emplace_back(std::make_unique<Implementation::InputState>());
  state.index = self.settings.audio.size();
  state.longestQueue = longestAudioQueue;
  self.settings.audio.push_back(settings);
  return Input(self.inputs.size() - 1);
}

bool AssetWriter::startWriting() {
  auto& self = *implementation_;
  try {
    self.pipeline = std::make_unique<WriterPipeline>(
        self.settings, self.encoding, [&self](std::exception_ptr error) { self.fail(std::move(error)); });
  } catch (...) {
    self.fail(std::current_exception());
    return false;
  }
  const std::lock_guard lock(self.mutex);
  self.currentStatus = Status::writing;
  return true;
}

void AssetWriter::startSession(MediaTime time) {
  auto& self = *implementation_;
  self.sessionStart = time;
  self.run(self.encoding, [&self, time] { self.pipeline->setSessionStart(time); });
}

bool AssetWriter::isReady(Input input) const {
  const auto& state = implementation_->state(input);
  return !state.isFinished && status() == Status::writing && !implementation_->bottleneck(state);
}

bool AssetWriter::append(Input input, PixelBufferRef buffer, MediaTime time) {
  auto& self = *implementation_;
  auto& state = self.state(input);
  if (!self.sessionStart || self.status() != Status::writing || state.isFinished) return false;
  const auto& expected = self.settings.video[state.index];
  if (buffer->width != expected.width || buffer->height != expected.height) return false;
  if (const auto cause = self.bottleneck(state)) {
    ++self.refusals(*cause).frames;
    return false;
  }
  ++state.queued;
  ++self.framesAppended;
  self.run(self.conversion, [&self, &state, buffer = std::move(buffer), time = time - *self.sessionStart,
                             arrived = Clock::now()] { self.convertPicture(state, *buffer, time, arrived); });
  return true;
}

bool AssetWriter::append(Input input, AudioBuffer buffer) {
  auto& self = *implementation_;
  auto& state = self.state(input);
  if (!self.sessionStart || self.status() != Status::writing || state.isFinished) return false;
  const auto count = buffer.frameCount();
  if (const auto cause = self.bottleneck(state)) {
    self.refusals(*cause).sound +=
        std::uint64_t(count) * AACEncoder::timescale / std::uint64_t(buffer.sampleRate);
    return false;
  }
  buffer.time = buffer.time - *self.sessionStart;
  state.queued += count;
  self.run(self.encoding, [&self, &state, count, buffer = std::move(buffer)] {
    state.queued -= count;
    self.pipeline->encode(state.index, buffer);
  });
  return true;
}

void AssetWriter::markAsFinished(Input input) {
  implementation_->state(input).isFinished = true;
}

Task<void> AssetWriter::finishWriting() {
  auto& self = *implementation_;
  auto nothing = []() -> Task<void> { co_return; };
  auto finish = [](Implementation& writer) -> Task<void> {
    writer.finish();
    co_return;
  };
  co_await runOn(self.conversion, nothing());  // what was converted is with the encoder then
  co_await runOn(self.encoding, finish(self));
}

AssetWriter::Status AssetWriter::status() const {
  return implementation_->status();
}

std::exception_ptr AssetWriter::error() const {
  const auto& self = *implementation_;
  const std::lock_guard lock(self.mutex);
  return self.error || !self.pipeline ? self.error : self.pipeline->file().error();
}

AssetWriterCounters AssetWriter::counters() const {
  const auto& self = *implementation_;
  AssetWriterCounters counters{.framesAppended = self.framesAppended,
                               .framesEncoded = self.framesEncoded,
                               .pixelsConverted = self.pixelsConverted,
                               .fragmentsClosed = self.pipeline ? self.pipeline->fragmentsClosed() : 0};
  for (const auto& refused : self.refused) {
    counters.framesRefused += refused.frames;
    counters.soundRefused += refused.sound;
  }
  return counters;
}

std::vector<std::string> AssetWriter::warnings() const {
  const auto& self = *implementation_;
  std::vector<std::string> texts;
  const auto add = [&](const std::vector<std::string>& more) {
    texts.insert(texts.end(), more.begin(), more.end());
  };
  {
    const std::lock_guard lock(self.mutex);
    add(self.warnings);
  }
  add(describe(self.refused[std::size_t(Bottleneck::encoder)], "this machine"));
  add(describe(self.refused[std::size_t(Bottleneck::disk)], "the disk"));
  if (self.pipeline) add(self.pipeline->file().warnings());
  return texts;
}

}  // namespace quillant
