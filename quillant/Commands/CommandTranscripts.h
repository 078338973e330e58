#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "Core/Task.h"
#include "Editor/Coordinator/CaptionJobs.h"

namespace quillant {

/// Has an edit's sounds listened to for a command, and shows how far that is. Belongs to the thread of the
/// executor that it is given.
class CommandTranscripts {
 public:
  CommandTranscripts(const Executor& mainThread, std::function<Transcriber()> makeTranscriber)
      : executor_(mainThread), makeTranscriber_(std::move(makeTranscriber)), ended_(mainThread) {}

  /// Until every sound has its transcript, or those of one track have it, or `stop` is called. Once. Throws
  /// an `Error` in the words of `CaptionJobs`.
  Task<> complete(std::shared_ptr<EditorCoordinator> coordinator,
                  std::optional<TimelineTranscriptTrack> onlyTrack);
  void stop();

 private:
  const Executor executor_;
  const std::function<Transcriber()> makeTranscriber_;
  std::shared_ptr<CaptionJobs> jobs_;  ///< None until they are needed.
  const Continuation<CaptionJobs::Status> ended_;
};

}  // namespace quillant
