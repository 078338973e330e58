#include "quillant/LaunchResume.h"

#include <memory>
#include <utility>

#include "QuillantCloud/HttpUploadTransport.h"
#include "QuillantCloud/QuillantAPI.h"
#include "QuillantCloud/QuillantConfig.h"
#include "QuillantCloud/TokenStore.h"

namespace quillant::LaunchResume {

Task<std::optional<UploadReconciler::Summary>> run(Environment environment,
                                                   UploadReconciler::Occasion occasion) {
  const auto& services = environment.services;
  auto token = co_await TokenStore::load(*services.secrets);
  if (!token) co_return std::nullopt;
  const UploadReconciler reconciler{.projects = environment.library,
                                    .queue = {QuillantConfig::pendingUploadsDirectory()},
                                    .api = std::make_shared<QuillantAPI>(std::move(*token), services.http),
                                    .transport = std::make_shared<HttpUploadTransport>(services.http),
                                    .log = environment.log,
                                    .progress = environment.progress,
                                    .clock = services.clock};
  co_return co_await reconciler.reconcile(services.clock.now(), occasion);
}

}  // namespace quillant::LaunchResume
