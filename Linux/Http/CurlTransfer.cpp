#include "Linux/Http/CurlTransfer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace quillant {

namespace {

constexpr std::int64_t leastSizeToAsk = 1 << 20;

bool isEncrypted(const std::string& url) {
  constexpr std::string_view scheme = "https:";
  return ::strncasecmp(url.c_str(), scheme.data(), scheme.size()) == 0;
}

}  // namespace

CurlTransfer::CurlTransfer(HttpRequest request) : request_(std::move(request)) {}

CurlTransfer::~CurlTransfer() {
  handle_.reset();
  for (auto* header = headers_; header; header = header->next)
    explicit_bzero(header->data, std::strlen(header->data));
  curl_slist_free_all(headers_);
  // One of them may be the user's token: freed memory should not keep it.
  for (auto& header : request_.headers) explicit_bzero(header.value.data(), header.value.size());
}

bool CurlTransfer::open() {
  since_ = Clock::now();
  if (!openBody() || !makeHeaders()) return false;
  handle_.reset(curl_easy_init());
  if (handle_) setOptions();
  return handle_ != nullptr;
}

bool CurlTransfer::openBody() {
  if (const auto* text = std::get_if<std::string>(&request_.body))
    bodySize_ = static_cast<std::int64_t>(text->size());
  const auto* file = std::get_if<HttpFileBody>(&request_.body);
  if (!file) return true;
  struct stat status {};
  // What waits for a writer, as a pipe with a name does, would stop every other transfer.
  file_ = FileDescriptor(::open(file->path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  const bool readable = file_ && ::fstat(file_.get(), &status) == 0;
  if (!readable || !S_ISREG(status.st_mode)) {
    const auto reason = readable ? "not a file" : std::error_code(errno, std::system_category()).message();
    fail(TransportError::Kind::unreadableBody, "could not read " + file->path.string() + ": " + reason);
    return false;
  }
  bodySize_ = status.st_size;
  return true;
}

bool CurlTransfer::makeHeaders() {
  // "Expect: 100-continue" pays off for large bodies only.
  if (bodySize_ < leastSizeToAsk) headers_ = curl_slist_append(headers_, "Expect:");
  for (const auto& [name, value] : request_.headers) {
    std::string line = name + ": " + value;
    // A line break would start another header, of whoever chose the value.
    const bool safe = line.find_first_of(std::string_view("\r\n\0", 3)) == std::string::npos;
    auto* longer = safe ? curl_slist_append(headers_, line.c_str()) : nullptr;
    explicit_bzero(line.data(), line.size());
    if (!longer) {
      fail(TransportError::Kind::unreachable, "the request's header " + name + " cannot be sent");
      return false;
    }
    headers_ = longer;
  }
  return true;
}

void CurlTransfer::setOptions() {
  CURL* curl = handle_.get();
  curl_easy_setopt(curl, CURLOPT_URL, request_.url.c_str());
  curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
  // A proxy of the environment would read what is not encrypted, and knows another loopback.
  if (!isEncrypted(request_.url)) curl_easy_setopt(curl, CURLOPT_PROXY, "");
  curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers_);
  curl_easy_setopt(curl, CURLOPT_USERAGENT, "Quillant");
  curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 0L);
  curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 1L);
  curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 2L);
  curl_easy_setopt(curl, CURLOPT_FRESH_CONNECT, 1L);
  curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  // Giving up does not wait for the thread that is looking up the name.
  curl_easy_setopt(curl, CURLOPT_QUICK_EXIT, 1L);
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(request_.timeout.count()));
  curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, curlText_.data());

  if (request_.method != "GET") {
    curl_easy_setopt(curl, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, request_.method.c_str());
    curl_easy_setopt(curl, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(bodySize_));
    curl_easy_setopt(curl, CURLOPT_READFUNCTION, readCallback);
    curl_easy_setopt(curl, CURLOPT_READDATA, this);
    curl_easy_setopt(curl, CURLOPT_SEEKFUNCTION, seekCallback);
    curl_easy_setopt(curl, CURLOPT_SEEKDATA, this);
  }
  curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, headerCallback);
  curl_easy_setopt(curl, CURLOPT_HEADERDATA, this);
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, writeCallback);
  curl_easy_setopt(curl, CURLOPT_WRITEDATA, this);
  curl_easy_setopt(curl, CURLOPT_PREREQFUNCTION, connectedCallback);
  curl_easy_setopt(curl, CURLOPT_PREREQDATA, this);
  curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
  curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, progressCallback);
  curl_easy_setopt(curl, CURLOPT_XFERINFODATA, this);
}

std::size_t CurlTransfer::readCallback(char* buffer, std::size_t size, std::size_t count, void* self) {
  return static_cast<CurlTransfer*>(self)->readBody(buffer, size * count);
}

std::size_t CurlTransfer::readBody(char* buffer, std::size_t room) {
  const auto wanted = std::min(room, static_cast<std::size_t>(bodySize_ - bodyOffset_));
  std::size_t count = wanted;
  if (const auto* text = std::get_if<std::string>(&request_.body)) {
    text->copy(buffer, wanted, static_cast<std::size_t>(bodyOffset_));
  } else if (wanted > 0) {
    const auto result = ::pread(file_.get(), buffer, wanted, bodyOffset_);
    if (result <= 0) {
      fail(TransportError::Kind::unreadableBody,
           "could not read " + std::get<HttpFileBody>(request_.body).path.string() + ": " +
               (result == 0 ? "the file ended early"
                            : std::error_code(errno, std::system_category()).message()));
      return CURL_READFUNC_ABORT;
    }
    count = static_cast<std::size_t>(result);
  }
  bodyOffset_ += static_cast<std::int64_t>(count);
  return count;
}

int CurlTransfer::seekCallback(void* self, curl_off_t offset, int origin) {
  if (origin != SEEK_SET) return CURL_SEEKFUNC_CANTSEEK;
  static_cast<CurlTransfer*>(self)->bodyOffset_ = offset;
  return CURL_SEEKFUNC_OK;
}

std::size_t CurlTransfer::headerCallback(char* bytes, std::size_t size, std::size_t count, void* self) {
  // libcurl takes any other number than what it offered for a refusal.
  return static_cast<CurlTransfer*>(self)->takeHeader({bytes, size * count}) ? size * count : 0;
}

bool CurlTransfer::takeHeader(std::string_view line) {
  headerBytes_ += line.size();
  if (headerBytes_ > longestHeaders) {
    fail(TransportError::Kind::notHTTP, "the server sent headers without end");
    return false;
  }
  if (line.starts_with("HTTP/")) {
    long status = 0;
    curl_easy_getinfo(handle_.get(), CURLINFO_RESPONSE_CODE, &status);
    response_.status = static_cast<int>(status);
    if (status >= 200) startAnswering();  // any other only says to go on
  }
  return true;
}

std::size_t CurlTransfer::writeCallback(char* bytes, std::size_t size, std::size_t count, void* self) {
  return static_cast<CurlTransfer*>(self)->takeBody({bytes, size * count}) ? size * count
                                                                           : CURL_WRITEFUNC_ERROR;
}

bool CurlTransfer::takeBody(std::string_view bytes) {
  const auto room = HttpResponse::longestBody - response_.body.size();
  response_.body += bytes.substr(0, room);
  response_.bodyWasCut = bytes.size() > room;
  return !response_.bodyWasCut;
}

int CurlTransfer::connectedCallback(void* self, char*, char*, int, int) {
  auto& transfer = *static_cast<CurlTransfer*>(self);
  transfer.since_ = Clock::now();
  if (transfer.bodySize_ == 0) transfer.startAnswering();
  return CURL_PREREQFUNC_OK;
}

int CurlTransfer::progressCallback(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent) {
  auto& transfer = *static_cast<CurlTransfer*>(self);
  if (sent <= transfer.sent_) return 0;
  transfer.sent_ = sent;
  if (!transfer.answering_) transfer.since_ = Clock::now();
  if (transfer.request_.progress) transfer.request_.progress(sent, transfer.bodySize_);
  if (sent >= transfer.bodySize_) transfer.startAnswering();
  return 0;
}

void CurlTransfer::startAnswering() {
  if (!std::exchange(answering_, true)) since_ = Clock::now();
}

void CurlTransfer::fail(TransportError::Kind kind, std::string text) {
  if (!failure_) failure_.emplace(kind, std::move(text));
}

/// A success status that came before the whole body was sent says nothing about the rest.
void CurlTransfer::requireWholeBodySent() {
  curl_off_t sent = 0;
  if (!handle_ || response_.status < 200 || response_.status > 299 ||
      curl_easy_getinfo(handle_.get(), CURLINFO_SIZE_UPLOAD_T, &sent) != CURLE_OK || sent >= bodySize_)
    return;
  fail(TransportError::Kind::interrupted, "the server answered before the whole body was sent");
}

void CurlTransfer::complete(CURLcode code) {
  requireWholeBodySent();
  handle_.reset();
  const auto completion = std::exchange(completion_, nullptr);
  if (!failure_ && (code == CURLE_OK || response_.bodyWasCut))
    completion(std::move(response_));
  else
    completion(failure_ ? *failure_ : error(code));
}

TransportError CurlTransfer::error(CURLcode code) const {
  using Kind = TransportError::Kind;
  switch (code) {
    case CURLE_OPERATION_TIMEDOUT:
      return {Kind::timedOut, "the server took too long"};
    case CURLE_ABORTED_BY_CALLBACK:
      return {Kind::cancelled, "the transfer was cancelled"};
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
      return {Kind::interrupted, "the connection broke off"};
    case CURLE_WEIRD_SERVER_REPLY:
      return {Kind::notHTTP, "the server did not answer with HTTP"};
    case CURLE_UNSUPPORTED_PROTOCOL:
      // The same number for "not a protocol of ours" and for an answer without a status line.
      if (answering_ || sent_ > 0) return {Kind::notHTTP, "the server did not answer with HTTP"};
      [[fallthrough]];
    default:
      return {Kind::unreachable, curlText_[0] ? curlText_.data() : curl_easy_strerror(code)};
  }
}

}  // namespace quillant
