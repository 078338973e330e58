#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Core/OwningSequence.h"
#include "Core/Task.h"
#include "QuillantCloud/Uploader.h"
#include "QuillantShare/ShareUploading.h"

namespace quillant {

/// A project's upload in the queue. Its entry has the project's id, and its claim is taken under that id in
/// any case, so that whoever shares the project, in this program or another one, meets the same entry and its
/// claim: a project has one link.
///
/// What blocks runs on a strand in the background.
class ShareUploader : public ShareUploading {
 public:
  using MakeUploader = std::function<Task<Uploader>(std::function<void(const UploadProgress&)> progress)>;

  /// `makeUploader` is awaited on the main thread, and its uploaders work on `queue`.
  ShareUploader(Executor mainThread, std::string projectId, PendingUploadStore queue,
                MakeUploader makeUploader);

  const std::optional<PendingUpload>& entry() const override { return entry_; }
  const std::optional<std::string>& sendableFingerprint() const override { return sendableFingerprint_; }
  Task<> begin() override;
  Task<> end() override;
  Task<> adopt(ProjectShareRecord record, ShareMetadata metadata) override;
  Task<std::string> mint(ShareMetadata metadata) override;
  Task<> uploadRendered(RenderedShare rendered, Progress progress) override;
  Task<> resumeUpload(Progress progress) override;

 private:
  using Claims = std::vector<UploadClaim>;
  using Step = std::function<Task<std::string>(const Uploader&, PendingUpload&)>;

  PendingUpload newEntry(const ShareMetadata& metadata) const;
  /// An entry for a link that is live, to send other bytes to.
  void adoptCompleted(const ProjectShareRecord& record, const ShareMetadata& metadata);
  Task<std::string> run(PendingUpload entry, Progress progress, Step step);

  const OwningSequence sequence_;
  const Executor strand_ = makeStrand();
  const std::string projectId_;
  const PendingUploadStore queue_;
  const MakeUploader makeUploader_;
  std::optional<PendingUpload> entry_;
  std::string entryId_ = projectId_;                ///< Of the entry, or of the one to make.
  std::optional<std::string> sendableFingerprint_;  ///< As `adopt` found it.
  Claims claims_;  ///< Of the project and, if that has another id, of the entry.
};

}  // namespace quillant
