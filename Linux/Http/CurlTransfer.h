#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <curl/curl.h>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "Core/FileDescriptor.h"
#include "QuillantCloud/HttpClient.h"

namespace quillant {

/// One request and its answer, as libcurl's callbacks drive it. The loop's thread owns it, but for `cancel`.
class CurlTransfer {
 public:
  using Clock = std::chrono::steady_clock;
  using Result = std::variant<HttpResponse, TransportError>;
  using Completion = std::function<void(Result)>;

  /// Headers beyond this many bytes, all of an answer's heads together, are an attack.
  static constexpr std::size_t longestHeaders = std::size_t{64} << 10;

  explicit CurlTransfer(HttpRequest request);
  ~CurlTransfer();
  CurlTransfer(const CurlTransfer&) = delete;
  CurlTransfer& operator=(const CurlTransfer&) = delete;

  /// Called with the result, once. Set it before the transfer is handed to the loop.
  void onCompletion(Completion completion) { completion_ = std::move(completion); }

  /// Opens the body and makes the handle; false if that failed, and `complete` knows why.
  bool open();
  CURL* handle() const { return handle_.get(); }
  /// When the transfer is given up, if nothing happens until then.
  Clock::time_point deadline() const { return since_ + request_.timeout; }
  void complete(CURLcode code);

  /// Any thread; the loop has to be woken to see it.
  void cancel() { cancelled_ = true; }
  bool isCancelled() const { return cancelled_; }

 private:
  struct HandleDeleter {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
  };

  static std::size_t readCallback(char* buffer, std::size_t size, std::size_t count, void* self);
  static int seekCallback(void* self, curl_off_t offset, int origin);
  static std::size_t headerCallback(char* bytes, std::size_t size, std::size_t count, void* self);
  static std::size_t writeCallback(char* bytes, std::size_t size, std::size_t count, void* self);
  static int connectedCallback(void* self, char*, char*, int, int);
  static int progressCallback(void* self, curl_off_t, curl_off_t, curl_off_t total, curl_off_t sent);

  bool openBody();
  bool makeHeaders();
  void setOptions();
  std::size_t readBody(char* buffer, std::size_t room);
  bool takeHeader(std::string_view line);
  bool takeBody(std::string_view bytes);
  void startAnswering();
  void requireWholeBodySent();
  void fail(TransportError::Kind kind, std::string text);
  TransportError error(CURLcode code) const;

  HttpRequest request_;
  Completion completion_;
  std::unique_ptr<CURL, HandleDeleter> handle_;
  curl_slist* headers_ = nullptr;
  FileDescriptor file_;
  std::int64_t bodySize_ = 0;
  std::int64_t bodyOffset_ = 0;  ///< Of what libcurl has read.
  std::int64_t sent_ = 0;
  /// The last sign of life that extends the deadline: the start, the connection, body bytes that moved, and
  /// last the end of the body. The answer's bytes are none.
  Clock::time_point since_ = Clock::now();
  bool answering_ = false;
  std::size_t headerBytes_ = 0;
  HttpResponse response_;
  /// What a callback found wrong; libcurl only knows that it stopped.
  std::optional<TransportError> failure_;
  std::array<char, CURL_ERROR_SIZE> curlText_{};
  std::atomic<bool> cancelled_ = false;
};

}  // namespace quillant
