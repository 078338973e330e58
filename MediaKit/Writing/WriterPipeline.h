#pragma once

#include <asio/steady_timer.hpp>
#include <atomic>
#include <chrono>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "Core/SerialQueue.h"
#include "MediaKit/Writing/AACEncoder.h"
#include "MediaKit/Writing/EncoderPicture.h"
#include "MediaKit/Writing/FragmentFile.h"
#include "MediaKit/Writing/FragmentMuxer.h"
#include "MediaKit/Writing/H264Encoder.h"
#include "MediaKit/Writing/QuantizerControl.h"

namespace quillant {

/// The encoding side of `AssetWriter`: encodes, and decides when a fragment closes.
///
/// Everything after construction runs on the queue given to it. Throws `MediaError`; what the disk refuses
/// shows in `file()`.
class WriterPipeline {
 public:
  using Clock = std::chrono::steady_clock;

  struct Settings {
    std::filesystem::path path;
    MediaContainer container = MediaContainer::mp4;
    Clock::duration fragmentInterval{};
    std::vector<VideoInputSettings> video;  ///< Their tracks come first.
    std::vector<AudioInputSettings> audio;
  };
  /// Opens the encoders, then makes the file. Throws `FileError` too. `onFailure` is called on the queue with
  /// what went wrong while no call was running.
  WriterPipeline(const Settings& settings, SerialQueue& queue,
                 std::function<void(std::exception_ptr)> onFailure);
  /// On the queue.
  ~WriterPipeline();

  /// Before anything is encoded.
  void setSessionStart(MediaTime start) { file_.setSessionStart(start); }
  /// `time` counts ticks of `H264Encoder::timescale` from the session's start and rises strictly; `arrived`
  /// is when the picture was appended.
  void encode(std::size_t video, const EncoderPicture& picture, std::int64_t time, Clock::time_point arrived);
  void encode(std::size_t audio, const AudioBuffer& buffer);
  bool makeFaster(std::size_t video) { return video_[video].encoder.makeFaster(); }
  /// Writes all that is held back and closes the file, after a failure too. Throws the first thing that did
  /// not work, behind the rest.
  void finish();

  std::uint64_t fragmentsClosed() const { return fragmentsClosed_; }
  const FragmentFile& file() const { return file_; }

 private:
  struct VideoTrack {
    explicit VideoTrack(const VideoInputSettings& settings);
    H264Encoder encoder;
    QuantizerControl quantizer;
    std::int64_t frameTicks;  ///< Of a frame at the expected rate.
    /// The last packet: it is written when the next one tells how long it lasts.
    std::optional<EncodedPacket> held;
    std::int64_t lastTime = -1;
    std::int64_t lastKeyTime = 0;
    Clock::time_point lastArrival{};
  };

  FragmentMuxer::Head openMuxer(const Settings& settings);
  void writeHeld(std::size_t track, std::int64_t duration);
  void writeSound(std::size_t audio);
  void noteMedia();
  Clock::time_point fragmentDue() const;
  void closeFragmentIfDue();
  void releaseStalePictures(Clock::time_point now);
  void closeFragment();
  void armTimer();

  std::deque<VideoTrack> video_;  // neither kind of track can be moved
  std::deque<AACEncoder> audio_;
  FragmentMuxer muxer_;
  FragmentFile file_;
  asio::steady_timer timer_;
  const std::shared_ptr<void> alive_ = std::make_shared<char>();
  Clock::duration interval_;
  std::function<void(std::exception_ptr)> onFailure_;
  bool timerIsArmed_ = false;
  bool mediaWaits_ = false;  ///< Something is there that is in no closed fragment.
  Clock::time_point mediaSince_{};
  Clock::time_point lastClose_{};
  Clock::time_point lastPictureWritten_{};
  std::atomic<std::uint64_t> fragmentsClosed_ = 0;
};

}  // namespace quillant
