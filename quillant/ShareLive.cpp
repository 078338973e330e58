#include "quillant/ShareLive.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <utility>

#include "QuillantCloud/HttpUploadTransport.h"
#include "QuillantCloud/QuillantAPI.h"
#include "QuillantCloud/QuillantConfig.h"
#include "QuillantCloud/TokenStore.h"
#include "QuillantShare/ShareUploader.h"
#include "quillant/ShareRender.h"

namespace quillant::ShareLive {

namespace {

/// Empty if nobody is signed in, or that cannot be told: the service says what is missing.
Task<std::string> token(std::shared_ptr<SecretStoring> secrets) {
  try {
    co_return (co_await TokenStore::load(*secrets)).value_or("");
  } catch (const std::exception&) {
    co_return "";
  }
}

Task<Uploader> makeUploader(CloudServices services, PendingUploadStore queue,
                            std::function<void(const std::string&)> log,
                            std::function<void(const UploadProgress&)> progress) {
  auto bearer = co_await token(services.secrets);
  co_return Uploader{.api = std::make_shared<QuillantAPI>(std::move(bearer), services.http),
                     .store = std::move(queue),
                     .transport = std::make_shared<HttpUploadTransport>(services.http),
                     .log = std::move(log),
                     .progress = std::move(progress),
                     .clock = services.clock};
}

/// An account that tells what it has stored and what it may.
Task<std::optional<Me>> limitedAccount(CloudServices services) {
  auto bearer = co_await token(services.secrets);
  if (bearer.empty()) co_return std::nullopt;
  try {
    const QuillantAPI api(std::move(bearer), services.http);
    auto me = co_await api.me();
    if (me.usage && me.limits) co_return me;
  } catch (const std::exception&) {
    // The share goes on, and the service itself decides.
  }
  co_return std::nullopt;
}

ShareMetadata metadata(const EditorCoordinator& coordinator, const std::string& title,
                       EditorExportQuality quality) {
  const auto size = coordinator.outputSize(quality);
  return {.title = title,
          .durationMs = std::max<std::int64_t>(1, std::llround(coordinator.outputDuration() * 1000)),
          .width = std::llround(size.width),
          .height = std::llround(size.height)};
}

Task<ProjectShareRecord> storedRecord(ProjectLibrary library, std::string projectId) {
  co_return (co_await library.project(std::move(projectId))).document.share;
}

Connection watchRecord(const ProjectLibrary& library, const std::string& projectId,
                       std::function<void()> changed) {
  using Kind = ProjectChange::Kind;
  return library.changed().connect([projectId, changed = std::move(changed)](const ProjectChange& change) {
    const bool isOfRecord = change.kind != Kind::edited && change.kind != Kind::renamed;
    if (change.id == projectId && isOfRecord) changed();
  });
}

Task<> copy(std::shared_ptr<ClipboardWriting> clipboard, std::string text) {
  co_await clipboard->write(std::move(text));
}

}  // namespace

Task<std::shared_ptr<ShareController>> makeController(Environment environment, std::string projectId,
                                                      const EditorCoordinator& coordinator, std::string title,
                                                      EditorExportQuality quality) {
  const auto& [mainThread, library, services, log, prepare] = environment;
  const PendingUploadStore queue{QuillantConfig::pendingUploadsDirectory()};
  const auto render = std::make_shared<ShareRender>(mainThread, coordinator, queue, quality);
  ShareController::Parts parts{
      .record = [library = library, projectId] { return storedRecord(library, projectId); },
      .changeRecord = [library = library,
                       projectId](auto change) { return library.updateShare(projectId, std::move(change)); },
      .watchRecord = [library = library, projectId](
                         auto changed) { return watchRecord(library, projectId, std::move(changed)); },
      .uploader = std::make_shared<ShareUploader>(mainThread, projectId, queue,
                                                  [services = services, queue, log = log](auto progress) {
                                                    return makeUploader(services, queue, log,
                                                                        std::move(progress));
                                                  }),
      .prepare = prepare,
      .render = [render](auto file,
                         auto progress) { return render->render(std::move(file), std::move(progress)); },
      .poster = [render](const auto&) { return render->poster(); },
      .captions = [render] { return render->captions(); },
      .capCheck = [services = services](auto durationMs) { return capDecision(services, durationMs); },
      .usageProbe = [services = services] { return usageSnapshot(services); },
      .metadata = [&coordinator, title = std::move(title),
                   quality] { return metadata(coordinator, title, quality); },
      .fingerprint = [&coordinator] { return coordinator.editFingerprint(); },
      .clipboard = [clipboard = services.clipboard](auto text) { return copy(clipboard, std::move(text)); },
      .tempURL = [render] { return render->newFile(); },
      .now = services.clock.now,
  };
  co_return co_await ShareController::make(mainThread, std::move(parts));
}

Task<CapDecision> capDecision(CloudServices services, std::int64_t durationMs) {
  CapDecision decision;
  const auto me = co_await limitedAccount(std::move(services));
  if (!me) co_return decision;
  const auto& [maxVideos, maxDurationMs, maxTotalBytes] = *me->limits;
  if (maxVideos && me->usage->videos + 1 > *maxVideos)
    decision.over = CapReasons::Videos{*maxVideos};
  else if (maxDurationMs && *maxDurationMs < durationMs)
    decision.over = CapReasons::Duration{*maxDurationMs};
  co_return decision;
}

Task<std::optional<UsageSnapshot>> usageSnapshot(CloudServices services) {
  const auto me = co_await limitedAccount(std::move(services));
  if (!me || !me->limits->maxVideos) co_return std::nullopt;
  co_return UsageSnapshot{.videos = me->usage->videos, .maxVideos = *me->limits->maxVideos};
}

}  // namespace quillant::ShareLive
