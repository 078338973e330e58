#include "Editor/Coordinator/CaptionJobs.h"

#include <asio/post.hpp>
#include <cassert>
#include <exception>
#include <filesystem>
#include <fmt/format.h>
#include <utility>

#include "Core/AtomicFile.h"
#include "Core/DiskExecutor.h"
#include "Core/JSON.h"
#include "Core/QueueTask.h"
#include "Editor/Coordinator/EditorCoordinator.h"

namespace quillant {

namespace {

class NotSaved : public Error {
 public:
  NotSaved(const std::string& name, const Error& reason)
      : Error(fmt::format("Couldn't save the captions of {} beside the recording: {}", name,
                          reason.description())) {}
};

std::set<std::string> sourcesOf(const std::vector<CaptionTarget>& targets, std::size_t from) {
  std::set<std::string> sources;
  for (auto i = from; i < targets.size(); ++i) sources.insert(targets[i].source);
  return sources;
}

// Blocking.

constexpr auto bytesKey = "mediaBytes";

/// None where no transcript of the target can be read. Two tracks of a source may share a file, and so may
/// recordings that differ in their ending, or a recording and one made anew under its name.
Task<std::optional<TimelineTranscript>> readCache(CaptionTarget target) {
  try {
    const auto json = JSON::parse(AtomicFile::read(target.cache));
    auto cached = JSON::decode<TimelineTranscript>(json);
    std::error_code ignored;
    const auto bytes = json.find(bytesKey);
    const bool isOfThisFile =
        bytes == json.end() || *bytes == std::filesystem::file_size(target.url, ignored);
    if (isOfThisFile && cached.source == target.source && cached.track == target.track) co_return cached;
  } catch (const Error&) {
    // It is made anew.
  }
  co_return std::nullopt;
}

/// The transcript as the cache will give it back.
Task<TimelineTranscript> writeCache(CaptionTarget target, std::uintmax_t bytes, RecognizedSpeech speech) {
  const TimelineTranscript transcript{.source = target.source,
                                      .track = target.track,
                                      .language = std::move(speech.language),
                                      .words = std::move(speech.words)};
  try {
    Json json = transcript;
    json[bytesKey] = bytes;
    AtomicFile::write(target.cache, JSON::compact(json));
    co_return JSON::decode<TimelineTranscript>(json);
  } catch (const Error& error) {
    throw NotSaved(target.name, error);
  }
}

struct Heard {
  std::optional<RecognizedSpeech> speech;  ///< None if it was stopped.
  std::uintmax_t bytes = 0;                ///< Of the file, before it was listened to.
};

Task<Heard> listen(Transcriber transcriber, CaptionTarget target, std::function<void(double)> progress,
                   std::stop_token stop) {
  std::error_code unknown;  // the transcriber says what is wrong with the file
  Heard heard{.speech = {}, .bytes = std::filesystem::file_size(target.url, unknown)};
  heard.speech =
      transcriber.transcribe(target.url, target.trackIndex, target.name, progress, std::move(stop));
  co_return heard;
}

}  // namespace

std::shared_ptr<CaptionJobs> CaptionJobs::make(Executor mainThread, Transcriber transcriber) {
  return std::shared_ptr<CaptionJobs>(new CaptionJobs(std::move(mainThread), std::move(transcriber)));
}

CaptionJobs::CaptionJobs(Executor mainThread, Transcriber transcriber)
    : executor_(std::move(mainThread)),
      transcriber_(std::move(transcriber)),
      queue_(std::make_shared<SerialQueue>("quillant.captions", SerialQueue::Priority::utility)) {}

CaptionJobs::~CaptionJobs() {
  stop_.request_stop();
}

void CaptionJobs::update(const std::shared_ptr<EditorCoordinator>& coordinator) {
  assert(sequence_.isCurrent());
  if (coordinator_.lock() != coordinator) {
    coordinator_ = coordinator;
    status_ = Off{};
    stop();
  }
  const auto& captions = coordinator->edits().captions;
  const bool hasTranscripts = captions && !captions->transcripts.empty();
  if (!coordinator->captionsOn() && !transcriptWanted && !hasTranscripts) {
    stop();
    show(Off{});
  } else if (isRunning_) {
    recheck_ = true;
  } else if (!std::holds_alternative<Failed>(status_)) {
    start();
  }
}

void CaptionJobs::retry() {
  assert(sequence_.isCurrent());
  const auto coordinator = coordinator_.lock();
  if (!coordinator) return;
  show(Checking{});
  update(coordinator);
}

void CaptionJobs::stop() {
  assert(sequence_.isCurrent());
  ++generation_;
  stop_.request_stop();
  isRunning_ = false;
  recheck_ = false;
  if (!std::exchange(pendingSources_, {}).empty()) changed.emit();
}

void CaptionJobs::setPreviewStatus(Status status, std::set<std::string> pending) {
  stop();
  pendingSources_ = std::move(pending);
  show(std::move(status));
}

void CaptionJobs::start() {
  ++generation_;
  stop_ = {};
  isRunning_ = true;
  if (std::holds_alternative<Off>(status_)) show(Checking{});
  startDetached(executor_, run(weak_from_this(), generation_));
}

void CaptionJobs::show(Status status) {
  status_ = std::move(status);
  changed.emit();
}

void CaptionJobs::showProgress(int index, double progress) {
  auto* transcribing = std::get_if<Transcribing>(&status_);
  if (!transcribing || transcribing->index != index) return;
  transcribing->progress = progress;
  changed.emit();
}

void CaptionJobs::finish() {
  if (std::exchange(recheck_, false)) return start();
  isRunning_ = false;
  pendingSources_.clear();
  show(Ready{});
}

std::shared_ptr<CaptionJobs> CaptionJobs::running(const std::weak_ptr<CaptionJobs>& jobs,
                                                  Generation generation) {
  auto self = jobs.lock();
  const bool isTheirs =
      self && self->isRunning_ && self->generation_ == generation && !self->coordinator_.expired();
  return isTheirs ? self : nullptr;
}

Task<> CaptionJobs::run(std::weak_ptr<CaptionJobs> jobs, Generation generation) {
  std::optional<std::string> failure;
  try {
    co_await fill(jobs, generation);
  } catch (const std::exception& error) {
    failure = error.what();
  }
  const auto self = running(jobs, generation);
  if (!self) co_return;
  if (!failure) {
    self->finish();
  } else {
    self->isRunning_ = false;
    self->recheck_ = false;
    self->show(Failed{std::move(*failure)});
  }
}

Task<> CaptionJobs::fill(std::weak_ptr<CaptionJobs> jobs, Generation generation) {
  auto self = running(jobs, generation);
  if (!self) co_return;
  auto coordinator = self->coordinator_.lock();
  self.reset();
  auto targets = co_await coordinator->missingCaptionTargets();
  coordinator.reset();
  self = running(jobs, generation);
  if (!self) co_return;
  if (const auto only = self->onlyTrack)
    std::erase_if(targets, [&](const CaptionTarget& target) { return target.track != only; });
  self->pendingSources_ = sourcesOf(targets, 0);
  self->changed.emit();
  self.reset();

  for (std::size_t i = 0; i < targets.size(); ++i) {
    auto transcript = co_await runOn(diskExecutor(), readCache(targets[i]));
    if (!transcript) {
      Transcribing status{
          .name = targets[i].name, .index = static_cast<int>(i), .count = static_cast<int>(targets.size())};
      transcript = co_await transcribe(jobs, generation, targets[i], std::move(status));
    }
    self = running(jobs, generation);
    if (!self || !transcript) co_return;
    self->landed(*transcript, sourcesOf(targets, i + 1));
    self.reset();
  }
}

Task<std::optional<TimelineTranscript>> CaptionJobs::transcribe(std::weak_ptr<CaptionJobs> jobs,
                                                                Generation generation, CaptionTarget target,
                                                                Transcribing status) {
  auto self = running(jobs, generation);
  if (!self) co_return std::nullopt;
  const auto queue = self->queue_;
  const auto stop = self->stop_.get_token();
  const auto progress = [=, index = status.index, executor = self->executor_](double done) {
    asio::post(executor, [=] {
      if (const auto current = running(jobs, generation)) current->showProgress(index, done);
    });
  };
  auto listening = listen(self->transcriber_, target, progress, stop);
  self->show(std::move(status));
  self.reset();
  auto [speech, bytes] = co_await runOn(*queue, std::move(listening));
  if (!speech || !running(jobs, generation)) co_return std::nullopt;
  co_return co_await runOn(diskExecutor(), writeCache(std::move(target), bytes, std::move(*speech)));
}

void CaptionJobs::landed(const TimelineTranscript& transcript, std::set<std::string> pending) {
  const auto generation = generation_;
  coordinator_.lock()->driver().setTranscript(transcript);
  if (generation != generation_) return;  // whoever saw it come has ended the run
  pendingSources_ = std::move(pending);
  if (onTranscriptReady) onTranscriptReady();
  changed.emit();
}

}  // namespace quillant
