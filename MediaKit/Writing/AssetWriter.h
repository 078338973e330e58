#pragma once

#include <cstdint>
#include <exception>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Core/MediaTime.h"
#include "Core/PixelBuffer.h"
#include "Core/Task.h"
#include "MediaKit/Sound/AudioBuffer.h"
#include "MediaKit/Writing/MediaSettings.h"

namespace quillant {

/// What the writer has done so far. Counts only rise.
struct AssetWriterCounters {
  std::uint64_t framesAppended = 0;
  std::uint64_t framesRefused = 0;  ///< Frames that were offered while the input was not ready.
  std::uint64_t soundRefused = 0;   ///< Samples of sound, at 48,000 Hz, that were; replaced by silence.
  std::uint64_t framesEncoded = 0;
  std::uint64_t pixelsConverted = 0;  ///< Pixels brought from the source's format to the encoder's.
  std::uint64_t fragmentsClosed = 0;
};

/// Writes live video and sound into a fragmented file that stays playable up to its last closed fragment,
/// whatever happens to the process. A clean finish makes it an ordinary file with one whole index.
///
/// Made, fed and finished by one owner on one queue; encoding and writing happen on a thread of the writer's
/// own behind a short bounded queue. Nothing here throws after construction: a failure shows in `status()`.
class AssetWriter {
 public:
  enum class Status { unknown, writing, completed, failed };

  /// An input that the writer was given; valid as long as the writer.
  enum class Input : int {};

  /// `largestBacklog` is how many bytes the disk may owe before the inputs are no longer ready.
  AssetWriter(std::filesystem::path path, MediaContainer container, MediaTime fragmentInterval,
              std::size_t largestBacklog = 64 << 20);
  /// Without `finishWriting` the file is left as a killed process would leave it.
  ~AssetWriter();
  AssetWriter(const AssetWriter&) = delete;
  AssetWriter& operator=(const AssetWriter&) = delete;

  /// Before `startWriting` only; tracks appear in the file in the order of these calls, video first.
  Input addVideo(const VideoInputSettings& settings);
  Input addAudio(const AudioInputSettings& settings);

  /// Creates the file, which must not exist, and opens the encoders. False, with `status()` failed and
  /// `error()` set, if either cannot be done.
  bool startWriting();
  /// The time on the samples' clock that becomes 0 in the file, where `AssetProbe` finds it. Once, after
  /// `startWriting` and before the first append.
  void startSession(MediaTime time);

  /// False while the bounded queue of the input is full, or the disk too far behind: an append would be
  /// refused.
  bool isReady(Input input) const;
  /// Times rise strictly. The buffer is kept until it is converted. False if it was not taken; when the input
  /// was not ready, the picture counts as dropped.
  bool append(Input input, PixelBufferRef buffer, MediaTime time);
  bool append(Input input, AudioBuffer buffer);

  void markAsFinished(Input input);
  /// Writes what is queued, the last fragment and the closing index. After a failure of an encoder too: then
  /// the file holds what was encoded before it. Afterwards the status is completed or failed; a file that
  /// could not get its index, or that the disk did not confirm, is complete and has a warning. With no sample
  /// at all the file holds its head only, which cannot be played.
  Task<void> finishWriting();

  Status status() const;             ///< Any thread.
  std::exception_ptr error() const;  ///< Any thread; why the status is failed.
  AssetWriterCounters counters() const;
  /// What the user should know of a recording that went well: an encoder that had to be made faster, frames
  /// and sound that were dropped because it, or the disk, still fell behind, and what closing the file found.
  /// Any thread.
  std::vector<std::string> warnings() const;

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace quillant
