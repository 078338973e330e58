#include "quillant/Models/CameraPreview.h"

#include <cassert>
#include <utility>

#include "Core/Error.h"
#include "Core/QueueTask.h"

namespace quillant {

std::shared_ptr<CameraPreview> CameraPreview::make(CameraSessionBroker& broker, ListDevices listDevices) {
  return std::shared_ptr<CameraPreview>(new CameraPreview(broker, std::move(listDevices)));
}

CameraPreview::CameraPreview(CameraSessionBroker& broker, ListDevices listDevices)
    : broker_(broker), listDevices_(std::move(listDevices)) {}

CameraPreview::~CameraPreview() {
  for (const auto& [layer, token] : tokens_) detach(layer, token);
}

Task<> CameraPreview::refresh() {
  const auto self = shared_from_this();
  auto devices = co_await runOn(queue_, list(self));
  assert(sequence_.isCurrent());
  if (std::exchange(devices_, devices) != devices) changed.emit();
}

void CameraPreview::show(Layer layer) {
  assert(sequence_.isCurrent());
  queue_.async([self = shared_from_this(), layer = std::move(layer)] {
    const auto [entry, isNew] = self->tokens_.try_emplace(layer);
    if (!isNew) return;
    self->broker_.connectPreview(*layer);
    self->attach(entry->second);
  });
}

void CameraPreview::hide(Layer layer) {
  assert(sequence_.isCurrent());
  queue_.async([self = shared_from_this(), layer = std::move(layer)] {
    const auto entry = self->tokens_.find(layer);
    if (entry == self->tokens_.end()) return;
    self->detach(entry->first, entry->second);
    self->tokens_.erase(entry);
  });
}

Task<std::vector<CameraOption>> CameraPreview::list(std::shared_ptr<CameraPreview> self) {
  for (auto& [layer, token] : self->tokens_)
    if (!token) self->attach(token);
  co_return self->listDevices_();
}

void CameraPreview::attach(CameraSessionBroker::Token& token) {
  try {
    token = broker_.attachPreview();
  } catch (const Error&) {  // the place stays empty; it is tried again
  }
}

void CameraPreview::detach(const Layer& layer, const CameraSessionBroker::Token& token) {
  broker_.disconnectPreview(*layer);
  if (token) broker_.release(token);
}

}  // namespace quillant
