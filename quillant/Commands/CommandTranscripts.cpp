#include "quillant/Commands/CommandTranscripts.h"

#include <utility>

#include "Core/Error.h"
#include "quillant/Commands/CommandProgress.h"
#include "quillant/Commands/Console.h"

namespace quillant {

namespace {

class TranscriptsFailed : public Error {
 public:
  explicit TranscriptsFailed(std::string message) : Error(std::move(message)) {}
};

}  // namespace

Task<> CommandTranscripts::complete(std::shared_ptr<EditorCoordinator> coordinator,
                                    std::optional<TimelineTranscriptTrack> onlyTrack) {
  jobs_ = CaptionJobs::make(executor_, makeTranscriber_());
  std::optional<CommandProgress> progress;
  const auto follow = jobs_->changed.connect([&] {
    if (const auto* now = std::get_if<CaptionJobs::Transcribing>(&jobs_->status())) {
      if (!progress) {
        Console::print("quillant: making captions");
        progress.emplace();
      }
      progress->show((now->index + now->progress) / now->count);
    } else if (!std::holds_alternative<CaptionJobs::Checking>(jobs_->status())) {
      ended_.resume(jobs_->status());
    }
  });
  jobs_->transcriptWanted = true;
  jobs_->onlyTrack = onlyTrack;
  jobs_->update(coordinator);
  const auto status = co_await ended_.wait();
  jobs_->stop();  // it may have begun after `stop`
  if (const auto* failed = std::get_if<CaptionJobs::Failed>(&status))
    throw TranscriptsFailed(failed->message);
}

void CommandTranscripts::stop() {
  if (jobs_) jobs_->stop();
  ended_.resume(CaptionJobs::Off{});
}

}  // namespace quillant
