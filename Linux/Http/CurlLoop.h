#pragma once

#include <curl/curl.h>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "Linux/Http/CurlTransfer.h"

namespace quillant {

/// The thread that all transfers of a client run on. Its functions may be called from any thread.
class CurlLoop {
 public:
  CurlLoop();
  ~CurlLoop();
  CurlLoop(const CurlLoop&) = delete;
  CurlLoop& operator=(const CurlLoop&) = delete;

  void start(std::shared_ptr<CurlTransfer> transfer);
  void cancel(CurlTransfer& transfer);
  /// Cancels every transfer and ends the thread. Call it once, before the destructor.
  void stop();

 private:
  using Transfers = std::vector<std::shared_ptr<CurlTransfer>>;

  void run();
  bool takeArrivals();
  void endFinished();
  void endOverdue();
  void end(Transfers::iterator transfer, CURLcode code);
  int pollTimeout() const;

  CURLM* multi_;
  Transfers running_;  ///< The thread's own.
  std::mutex mutex_;   ///< Guards the two that follow.
  Transfers arrivals_;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace quillant
