#include "quillant/Commands/FixtureRecording.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <exception>
#include <memory>
#include <numbers>
#include <string_view>
#include <thread>

#include "CaptureEngine/RecordingFiles.h"
#include "CaptureEngine/Telemetry/CursorTelemetryCodec.h"
#include "Core/AtomicFile.h"
#include "DrawKit/Canvas.h"
#include "DrawKit/TextOutline.h"
#include "MediaKit/MediaError.h"
#include "MediaKit/Writing/AssetWriter.h"

namespace quillant::FixtureRecording {

namespace {

namespace fs = std::filesystem;

constexpr int width = 1280;
constexpr int height = 720;
constexpr int cameraWidth = 640;
constexpr int cameraHeight = 480;
constexpr int frameRate = 30;
constexpr double duration = 8;  ///< Seconds.
constexpr MediaTime cameraDelay{1, 4};
constexpr int sampleRate = 48'000;
constexpr int soundPiece = sampleRate / frameRate;
constexpr MediaTime fragmentInterval{3, 2};

constexpr double clickShows = 0.25;  ///< Seconds.
constexpr double moveTakes = 0.8;    ///< Seconds, up to shortly before the click.
constexpr double restsBefore = 0.1;  ///< Seconds.

/// Where the pointer has arrived, and clicks.
struct Stop {
  double time;
  Point place;
  std::string_view label;
};
constexpr Point start{120, 640};
constexpr Stop stops[] = {
    {1.5, {400, 560}, "Rename"}, {3.5, {960, 560}, "Share"}, {6, {960, 160}, "Settings"}};

constexpr std::string_view notes[] = {"Monday", "- finish the slides", "- record the talk",
                                      "- cut the beginning", "- send the link"};
constexpr double charactersASecond = 12;

constexpr SerializableColor desk{0.16, 0.20, 0.30}, paper{0.96, 0.96, 0.94}, ink{0.13, 0.14, 0.17},
    button{0.30, 0.45, 0.75}, lit{0.98, 0.72, 0.25}, skin{0.87, 0.68, 0.56}, wall{0.38, 0.48, 0.45};

bool showsClick(const Stop& stop, double time) {
  return time >= stop.time && time < stop.time + clickShows;
}

Point pointer(double time) {
  Point from = start;
  for (const auto& [arrival, place, label] : stops) {
    const double progress = std::clamp((time - (arrival - restsBefore - moveTakes)) / moveTakes, 0.0, 1.0);
    const double eased = progress * progress * (3 - 2 * progress);
    if (progress < 1) return {std::lerp(from.x, place.x, eased), std::lerp(from.y, place.y, eased)};
    from = place;
  }
  return from;
}

/// `at` is where the line's baseline begins.
void writeLine(Canvas& canvas, std::string_view text, Point at, double size, const SerializableColor& color) {
  canvas.translate(at.x, at.y);
  for (const Path& part : TextOutline::of(std::array{text}, {.size = size}).parts) canvas.fill(part, color);
  canvas.translate(-at.x, -at.y);
}

/// The picture of a canvas that is painted all over.
PixelBufferRef taken(Canvas&& canvas) {
  PixelBuffer picture = *std::move(canvas).take();
  picture.format = PixelFormat::bgra;
  return std::make_shared<const PixelBuffer>(std::move(picture));
}

PixelBufferRef screen(double time) {
  Canvas canvas(width, height);
  canvas.fill(Path().rectangle({0, 0, width, height}), desk);
  canvas.fill(Path().roundedRectangle({80, 60, 640, 400}, 12), paper);
  auto typed = static_cast<std::size_t>(time * charactersASecond);
  double baseline = 120;
  for (const auto line : notes) {
    writeLine(canvas, line.substr(0, typed), {110, baseline}, 30, ink);
    typed -= std::min(typed, line.size());
    baseline += 48;
  }
  for (const auto& stop : stops) {
    const Rect frame{stop.place.x - 90, stop.place.y - 30, 180, 60};
    canvas.fill(Path().roundedRectangle(frame, 10), showsClick(stop, time) ? lit : button);
    writeLine(canvas, stop.label, {frame.x + 30, frame.y + 39}, 26, paper);
  }
  canvas.fill(Path().rectangle({0, height - 12, width * time / duration, 12}), lit);
  return taken(std::move(canvas));
}

PixelBufferRef face(double time) {
  Canvas canvas(cameraWidth, cameraHeight);
  canvas.fill(Path().rectangle({0, 0, cameraWidth, cameraHeight}), wall);
  const double sway = 20 * std::sin(time * 2);
  canvas.fill(Path().ellipse({160 + sway / 2, 360, 320, 260}), button);
  canvas.fill(Path().ellipse({220 + sway, 90, 200, 260}), skin);
  for (const double eye : {270.0, 346.0}) canvas.fill(Path().ellipse({eye + sway, 190, 24, 24}), ink);
  const double open = 6 + 16 * std::abs(std::sin(time * 9));
  canvas.fill(Path().ellipse({280 + sway, 284 - open / 2, 80, open}), ink);
  return taken(std::move(canvas));
}

/// A hum that comes and goes as syllables do.
double voice(double time) {
  const double syllable = std::max(0.0, std::sin(time * 9));
  return 0.25 * syllable * std::sin(2 * std::numbers::pi * 180 * time);
}

double beeps(double time) {
  const bool sounds = std::ranges::any_of(stops, [&](const Stop& stop) { return showsClick(stop, time); });
  return sounds ? 0.3 * std::sin(2 * std::numbers::pi * 880 * time) : 0;
}

AudioBuffer sound(double (&level)(double), int channels, MediaTime begin, int piece) {
  AudioBuffer buffer{.time = begin + MediaTime{std::int64_t{piece} * soundPiece, sampleRate},
                     .sampleRate = sampleRate,
                     .channels = channels,
                     .samples = {}};
  for (int i = 0; i < soundPiece; ++i)
    buffer.samples.insert(
        buffer.samples.end(), static_cast<std::size_t>(channels),
        static_cast<float>(level(static_cast<double>(piece * soundPiece + i) / sampleRate)));
  return buffer;
}

/// A file of the writer that recordings are made with. It is fed no faster than it encodes: it would drop
/// pictures of a source that is faster, and encode the others worse.
class File {
 public:
  File(const fs::path& path, MediaContainer container, const VideoInputSettings& video)
      : writer_(path, container, fragmentInterval), video_(writer_.addVideo(video)) {}

  AssetWriter::Input addSound(const AudioInputSettings& settings) { return writer_.addAudio(settings); }
  void begin(MediaTime time) {
    require(writer_.startWriting());
    writer_.startSession(time);
  }
  void append(PixelBufferRef picture, MediaTime time) {
    require(writer_.append(video_, std::move(picture), time));
    ++count_;
    while (writer_.counters().framesEncoded < count_ && writer_.status() == AssetWriter::Status::writing)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  void append(AssetWriter::Input input, AudioBuffer buffer) { writer_.append(input, std::move(buffer)); }
  void finish() {
    runBlocking(writer_.finishWriting());
    require(writer_.status() == AssetWriter::Status::completed);
  }

 private:
  void require(bool isDone) const {
    if (isDone) return;
    if (const auto error = writer_.error()) std::rethrow_exception(error);
    throw MediaError(MediaError::Kind::codec, "the writer takes no more");
  }

  AssetWriter writer_;
  AssetWriter::Input video_;
  std::uint64_t count_ = 0;
};

void writeScreen(const fs::path& path) {
  File file(
      path, MediaContainer::mp4,
      {.width = width, .height = height, .expectedFrameRate = frameRate, .color = ColorTagging::p3D65Rec709});
  const auto microphone = file.addSound({.channels = 1, .bitRate = 96'000});
  const auto system = file.addSound({.channels = 2, .bitRate = 160'000});
  file.begin(MediaTime::zero());
  for (int frame = 0; frame < duration * frameRate; ++frame) {
    file.append(microphone, sound(voice, 1, MediaTime::zero(), frame));
    file.append(system, sound(beeps, 2, MediaTime::zero(), frame));
    file.append(screen(static_cast<double>(frame) / frameRate), {frame, frameRate});
  }
  file.finish();
}

void writeCamera(const fs::path& path) {
  File file(path, MediaContainer::quickTime,
            {.width = cameraWidth, .height = cameraHeight, .expectedFrameRate = frameRate});
  file.begin(cameraDelay);
  for (int frame = 0; frame < (duration - cameraDelay.seconds()) * frameRate; ++frame) {
    const auto time = cameraDelay + MediaTime{frame, frameRate};
    file.append(face(time.seconds()), time);
  }
  file.finish();
}

void writePointer(const fs::path& path) {
  CursorTelemetryPayload payload{.width = width, .height = height};
  const auto whole = [](double value) { return static_cast<std::int64_t>(std::llround(value)); };
  constexpr int samplesASecond = 60;
  for (int i = 0; i < duration * samplesASecond; ++i) {
    const double time = static_cast<double>(i) / samplesASecond;
    const Point at = pointer(time);
    payload.samples.push_back({.x = whole(at.x), .y = whole(at.y), .timestamp = whole(time * 1000)});
  }
  for (const auto& [time, place, label] : stops)
    payload.clicks.push_back({.x = whole(place.x), .y = whole(place.y), .timestamp = whole(time * 1000)});
  AtomicFile::write(path, CursorTelemetryCodec::encode(payload));
}

}  // namespace

std::vector<fs::path> write(const fs::path& folder) {
  const auto video = folder / "recording-e1-fixture.mp4";
  const std::vector files{video, RecordingFiles::facecam(video), RecordingFiles::cursorTelemetry(video)};
  std::error_code error;
  fs::create_directories(folder, error);
  for (const auto& file : files)
    if (!error) fs::remove(file, error);
  if (error) throw FileError("write", video, error);
  writeScreen(files[0]);
  writeCamera(files[1]);
  writePointer(files[2]);
  return files;
}

}  // namespace quillant::FixtureRecording
