#include "Linux/Http/CurlLoop.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <new>
#include <utility>

namespace quillant {

namespace {

/// libcurl lets a write to a broken TLS connection raise SIGPIPE, which goes to the thread that wrote.
std::thread threadWithoutSignals(std::function<void()> work) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  std::thread thread(std::move(work));
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return thread;
}

CURLM* makeMulti() {
  static const CURLcode global = curl_global_init(CURL_GLOBAL_DEFAULT);
  CURLM* multi = global == CURLE_OK ? curl_multi_init() : nullptr;
  if (!multi) throw std::bad_alloc();
  return multi;
}

}  // namespace

CurlLoop::CurlLoop() : multi_(makeMulti()) {
  thread_ = threadWithoutSignals([this] { run(); });
}

CurlLoop::~CurlLoop() {
  curl_multi_cleanup(multi_);
}

void CurlLoop::start(std::shared_ptr<CurlTransfer> transfer) {
  {
    const std::lock_guard lock(mutex_);
    arrivals_.push_back(std::move(transfer));
  }
  curl_multi_wakeup(multi_);
}

void CurlLoop::cancel(CurlTransfer& transfer) {
  transfer.cancel();
  curl_multi_wakeup(multi_);
}

void CurlLoop::stop() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  curl_multi_wakeup(multi_);
  thread_.join();
}

void CurlLoop::run() {
  while (takeArrivals()) {
    int stillRunning = 0;
    curl_multi_perform(multi_, &stillRunning);
    endFinished();
    endOverdue();
    curl_multi_poll(multi_, nullptr, 0, pollTimeout(), nullptr);
  }
  for (const auto& transfer : running_) transfer->cancel();
  endOverdue();
}

/// False once the loop is to end; what has arrived by then is among the running all the same.
bool CurlLoop::takeArrivals() {
  Transfers arrivals;
  bool stopping = false;
  {
    const std::lock_guard lock(mutex_);
    arrivals = std::exchange(arrivals_, {});
    stopping = stopping_;
  }
  for (auto& transfer : arrivals) {
    running_.push_back(std::move(transfer));
    if (!running_.back()->open() || curl_multi_add_handle(multi_, running_.back()->handle()) != CURLM_OK)
      end(running_.end() - 1, CURLE_FAILED_INIT);
  }
  return !stopping;
}

void CurlLoop::endFinished() {
  int left = 0;
  while (const CURLMsg* message = curl_multi_info_read(multi_, &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    const auto code = message->data.result;
    const auto found = std::find_if(running_.begin(), running_.end(), [&](const auto& transfer) {
      return transfer->handle() == message->easy_handle;
    });
    end(found, code);
  }
}

void CurlLoop::endOverdue() {
  const auto now = CurlTransfer::Clock::now();
  for (auto index = running_.size(); index > 0; --index) {
    const auto& transfer = running_[index - 1];
    if (transfer->isCancelled() || transfer->deadline() <= now)
      end(running_.begin() + static_cast<std::ptrdiff_t>(index - 1),
          transfer->isCancelled() ? CURLE_ABORTED_BY_CALLBACK : CURLE_OPERATION_TIMEDOUT);
  }
}

void CurlLoop::end(Transfers::iterator position, CURLcode code) {
  const auto transfer = std::move(*position);
  running_.erase(position);
  if (transfer->handle()) curl_multi_remove_handle(multi_, transfer->handle());
  transfer->complete(code);
}

int CurlLoop::pollTimeout() const {
  using std::chrono::milliseconds;
  constexpr milliseconds longest = std::chrono::minutes(1);
  auto timeout = longest;
  const auto now = CurlTransfer::Clock::now();
  for (const auto& transfer : running_) {
    const auto left = std::chrono::ceil<milliseconds>(transfer->deadline() - now);
    timeout = std::clamp(left, milliseconds(0), timeout);
  }
  return static_cast<int>(timeout.count());
}

}  // namespace quillant
