#pragma once

#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CaptureEngine/PauseClock.h"
#include "Core/Error.h"
#include "Core/MediaTime.h"
#include "Core/PixelBuffer.h"
#include "Core/SerialQueue.h"
#include "Core/Task.h"
#include "MediaKit/Sound/AudioBuffer.h"
#include "MediaKit/Writing/AssetWriter.h"

namespace quillant {

/// Writes the video of a session, as it happens, into a file that survives the process.
///
/// It lives on the queue that its owner gives, which outlives it; the operations say where they run. Times
/// are host-clock times: the pause clock is applied here, and the first frame becomes 0. A still picture is
/// repeated once a second, so that the file is as long as the session.
class FragmentedMP4Writer {
 public:
  /// The file cannot be written (any more).
  class WriterError : public Error {
   public:
    explicit WriterError(std::exception_ptr underlying);
    std::exception_ptr underlying() const { return underlying_; }

   private:
    std::exception_ptr underlying_;
  };

  enum class SoundTrack { microphone, systemAudio };

  struct Configuration {
    std::filesystem::path outputURL;
    MediaContainer container = MediaContainer::mp4;
    VideoInputSettings video;
    bool microphone = false;
    bool systemAudio = false;
    std::shared_ptr<PauseClock> pauseClock;  ///< May be null.
    std::function<MediaTime()> now;          ///< The host clock.
    /// What went wrong where no call could throw it: a repeat met a failed file, or memory ran out. On any
    /// thread; may be told again.
    std::function<void(std::exception_ptr)> onFailure;
  };

  /// Creates the file, which must not exist. Throws `WriterError`.
  FragmentedMP4Writer(Configuration configuration, SerialQueue& queue);
  /// Off the queue or on it; no other call may be under way, nor the pause clock's `resume`.
  ~FragmentedMP4Writer();
  FragmentedMP4Writer(const FragmentedMP4Writer&) = delete;
  FragmentedMP4Writer& operator=(const FragmentedMP4Writer&) = delete;

  /// On the queue. What comes during a pause, out of order, or too fast for the encoder is dropped; the last
  /// of these shows in `warnings()`. Throws `WriterError` if the file has failed.
  void append(PixelBufferRef pixelBuffer, MediaTime time);
  /// Any thread; never fails. Sound before the first frame, or of a track that the file lacks, is dropped.
  void appendAudio(AudioBuffer buffer, SoundTrack track);
  /// On the queue; the heartbeat calls it once a second, and the end of a pause. Repeats the last picture if
  /// nothing was appended for more than 0.9 s before `hostTime`, or if the file does not show it yet.
  void repeatIfStill(MediaTime hostTime);

  /// The adjusted time of the first frame; invalid before it. Off the queue or on it.
  MediaTime sessionStartTime();
  /// Closes the file, one that has failed too, with what it holds; a second call does nothing. Throws
  /// `WriterError`.
  Task<void> finish();

  AssetWriterCounters counters() const { return writer_.counters(); }
  std::vector<std::string> warnings() const { return writer_.warnings(); }

 private:
  template <class Work>
  void attempt(Work&& work) noexcept;
  void startSession(MediaTime adjusted);
  bool appendNow(const PixelBufferRef& pixelBuffer, MediaTime adjusted);
  void repeat(const PixelBufferRef& pixelBuffer, MediaTime adjusted);
  void appendAudioNow(AudioBuffer buffer, SoundTrack track);
  std::optional<MediaTime> adjust(MediaTime time) const;
  bool isInOrder(MediaTime adjusted) const;
  Task<void> finishOnQueue();
  void appendFinalFrame();

  const Configuration configuration_;
  SerialQueue& queue_;
  AssetWriter writer_;
  AssetWriter::Input videoInput_;
  std::optional<AssetWriter::Input> micInput_;
  std::optional<AssetWriter::Input> systemAudioInput_;

  // Everything below belongs to the queue.
  bool finished_ = false;
  MediaTime sessionStartTime_ = MediaTime::invalid();
  PixelBufferRef lastPixelBuffer_;
  bool isBehind_ = false;  ///< The last picture was dropped: the file shows one before it.
  MediaTime lastAppendTime_ = MediaTime::invalid();
  std::unique_ptr<QueueTimer> heartbeat_;
  Connection resumed_;
};

}  // namespace quillant
