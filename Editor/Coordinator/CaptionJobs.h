#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <variant>
#include <vector>

#include "Core/OwningSequence.h"
#include "Core/SerialQueue.h"
#include "Core/Signal.h"
#include "Core/Task.h"
#include "Editor/Captions/CaptionTargets.h"
#include "Editor/Captions/Transcriber.h"

namespace quillant {

class EditorCoordinator;

/// Keeps the transcripts of the open recording complete, in the background: a sound that has none gets it
/// from the cache beside the recording, or else by listening, which fills the cache first.
///
/// Belongs to the thread of the executor that it is given, the main one; `changed` is emitted there. One
/// sound is listened to at a time, on a thread of its own. A run that is stopped leaves that thread as soon
/// as its recogniser notices; what it still brings is dropped. Destroying it stops it.
class CaptionJobs : public std::enable_shared_from_this<CaptionJobs> {
 public:
  /// Listening to one of the sounds.
  struct Transcribing {
    std::string name;  ///< As `CaptionTarget::name`.
    int index = 0;     ///< Of `count`, from 0.
    int count = 0;
    double progress = 0;  ///< 0...1, of this sound.

    friend bool operator==(const Transcribing&, const Transcribing&) = default;
  };
  /// Nothing more is tried until `retry`.
  struct Failed {
    std::string message;

    friend bool operator==(const Failed&, const Failed&) = default;
  };
  /// Nobody wants captions.
  struct Off {
    friend bool operator==(const Off&, const Off&) = default;
  };
  /// Looking for sounds without a transcript.
  struct Checking {
    friend bool operator==(const Checking&, const Checking&) = default;
  };
  /// Every sound has its transcript.
  struct Ready {
    friend bool operator==(const Ready&, const Ready&) = default;
  };
  using Status = std::variant<Transcribing, Failed, Off, Checking, Ready>;

  static std::shared_ptr<CaptionJobs> make(Executor mainThread, Transcriber transcriber);
  ~CaptionJobs();

  /// To be called whenever the captions or the sources of the edit may have changed; more often does no harm.
  /// Another coordinator than before ends what was done for that one. `stop` comes before a coordinator loads
  /// another recording.
  void update(const std::shared_ptr<EditorCoordinator>& coordinator);
  /// After a failure.
  void retry();
  /// Ends what is going on. The status is the caller's business.
  void stop();
  /// Stops, and shows this instead: for previews.
  void setPreviewStatus(Status status, std::set<std::string> pending);

  const Status& status() const { return status_; }
  /// The sources, as `CaptionTarget::source`, that still wait for a transcript; after a failure too.
  const std::set<std::string>& pendingSources() const { return pendingSources_; }
  /// The status or the sources that wait may differ.
  Signal<> changed;
  /// Called each time a transcript is in the edit.
  std::function<void()> onTranscriptReady;
  /// Transcripts are needed with captions off too, for editing by words. The next `update` goes by it.
  bool transcriptWanted = false;
  /// If set, the one track that is listened to. The next `update` goes by it.
  std::optional<TimelineTranscriptTrack> onlyTrack;

 private:
  using Generation = std::uint64_t;

  CaptionJobs(Executor mainThread, Transcriber transcriber);

  void start();
  void show(Status status);
  void showProgress(int index, double progress);
  void landed(const TimelineTranscript& transcript, std::set<std::string> pending);
  void finish();

  // The steps of a run. After each wait the jobs may be gone, or the run no longer theirs.
  static std::shared_ptr<CaptionJobs> running(const std::weak_ptr<CaptionJobs>& jobs, Generation generation);
  static Task<> run(std::weak_ptr<CaptionJobs> jobs, Generation generation);
  static Task<> fill(std::weak_ptr<CaptionJobs> jobs, Generation generation);
  static Task<std::optional<TimelineTranscript>> transcribe(std::weak_ptr<CaptionJobs> jobs,
                                                            Generation generation, CaptionTarget target,
                                                            Transcribing status);

  const Executor executor_;
  const OwningSequence sequence_{executor_};
  const Transcriber transcriber_;
  const std::shared_ptr<SerialQueue> queue_;  ///< A run that is on it holds it, too.
  std::weak_ptr<EditorCoordinator> coordinator_;
  Status status_ = Off{};
  std::set<std::string> pendingSources_;
  Generation generation_ = 0;  ///< What an older run brings is dropped.
  bool isRunning_ = false;
  std::stop_source stop_;  ///< Of the run that is going on.
  bool recheck_ = false;   ///< Something may have changed since the run began.
};

}  // namespace quillant
