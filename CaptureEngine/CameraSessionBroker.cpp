#include "CaptureEngine/CameraSessionBroker.h"

#include <cassert>
#include <utility>

namespace quillant {

namespace {

constexpr int mostRecoveries = 3;

}  // namespace

CameraSessionBroker::CameraSessionBroker(std::unique_ptr<CameraSessionControlling> control)
    : control_(std::move(control)) {
  control_->setOnRuntimeError([this] { queue_.async([this] { recover(); }); });
}

CameraSessionBroker::~CameraSessionBroker() {
  // The camera's thread reports to the queue: it ends first.
  queue_.sync([this] { control_->stop(); });
}

bool CameraSessionBroker::isAllowed() {
  return queue_.sync([this] { return control_->isAllowed(); });
}

CameraFormat CameraSessionBroker::recordingFormat() {
  return queue_.sync([this] { return control_->ensureInput(); });
}

void CameraSessionBroker::abandonRecording() {
  queue_.sync([this] {
    if (edge_.count == 0) control_->stop();
  });
}

CameraSessionBroker::Token CameraSessionBroker::acquireRecorder(CameraSessionControlling::Sink sink) {
  return queue_.sync([&] {
    control_->setSink(std::move(sink));
    try {
      return acquire(CameraConsumerToken::Kind::recorder);
    } catch (...) {
      control_->setSink(nullptr);
      throw;
    }
  });
}

CameraSessionBroker::Token CameraSessionBroker::attachPreview() {
  return queue_.sync([this] {
    control_->ensureInput();
    return acquire(CameraConsumerToken::Kind::preview);
  });
}

/// Counts only a consumer that gets a camera. A new one is worth another try of a camera that was lost.
CameraSessionBroker::Token CameraSessionBroker::acquire(CameraConsumerToken::Kind kind) {
  assert(queue_.isCurrent());
  if (std::exchange(isLost_, false)) control_->stop();
  if (!control_->isRunning()) control_->start();
  edge_.add();
  return std::make_shared<CameraConsumerToken>(kind);
}

void CameraSessionBroker::connectPreview(CameraPreviewLayer& layer) {
  queue_.sync([&] { control_->connectPreview(layer); });
}

void CameraSessionBroker::disconnectPreview(CameraPreviewLayer& layer) {
  queue_.sync([&] { control_->disconnectPreview(layer); });
}

void CameraSessionBroker::release(const Token& token) {
  queue_.sync([&] {
    if (!token->takeLive()) return;
    if (token->kind() == CameraConsumerToken::Kind::recorder) control_->setSink(nullptr);
    if (!edge_.remove()) return;
    recoveryAttempts_ = 0;
    control_->stop();
  });
}

void CameraSessionBroker::setPreferredCamera(std::optional<std::string> id) {
  queue_.sync([&] {
    control_->setPreferredDevice(std::move(id));
    if (edge_.count > 0) restart();
  });
}

bool CameraSessionBroker::isLost() {
  return queue_.sync([this] { return isLost_; });
}

void CameraSessionBroker::recover() {
  if (edge_.count == 0) return;  // it failed while its last user released it
  if (recoveryAttempts_ == mostRecoveries) {
    isLost_ = true;
    return;
  }
  ++recoveryAttempts_;
  restart();
}

void CameraSessionBroker::restart() {
  assert(queue_.isCurrent());
  try {
    control_->stop();
    control_->ensureInput();
    control_->start();
  } catch (...) {  // memory and threads may run out, too
    isLost_ = true;
  }
}

}  // namespace quillant
