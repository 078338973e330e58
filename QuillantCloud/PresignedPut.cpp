#include "QuillantCloud/PresignedPut.h"

#include <optional>
#include <utility>

#include "Core/Text.h"
#include "QuillantCloud/URL.h"
#include "QuillantCloud/UploadError.h"

namespace quillant::PresignedPut {

namespace {

/// Limits progress reports to one for each tenth, and delivers them on `executor`: a callback may block, for
/// instance on a terminal that is stopped, and must not hold up the thread of the transfer.
class TenthsOfProgress {
 public:
  TenthsOfProgress(Executor executor, UploadTransport::Progress progress)
      : executor_(std::move(executor)), progress_(std::move(progress)) {}

  void operator()(std::int64_t sent, std::int64_t total) {
    if (total < 1) return;
    const double fraction = static_cast<double>(sent) / static_cast<double>(total);
    const int tenth = static_cast<int>(fraction * 10);
    if (tenth == std::exchange(lastReported_, tenth)) return;
    asio::post(executor_, [progress = progress_, fraction] { progress(fraction); });
  }

 private:
  Executor executor_;
  UploadTransport::Progress progress_;
  int lastReported_ = -1;
};

/// The beginning of what storage answered, if that is a text.
std::optional<std::string> excerpt(const std::string& body) {
  constexpr std::size_t longest = 500;
  auto beginning = body.substr(0, longest);
  if (!Text::isUTF8(beginning)) return std::nullopt;
  return beginning;
}

}  // namespace

Task<> upload(HttpClient& http, std::filesystem::path file, std::string url, std::string contentType,
              UploadTransport::Progress progress) {
  const auto address = URL::parse(url);
  if (!address || !address->isSecure()) throw UploadError(UploadError::InsecureURL{});
  const auto executor = co_await asio::this_coro::executor;
  HttpRequest request{.method = "PUT",
                      .url = std::move(url),
                      .headers = {{"Content-Type", std::move(contentType)}},
                      .body = HttpFileBody{std::move(file)},
                      .progress = TenthsOfProgress(executor, std::move(progress))};
  HttpResponse response;
  try {
    response = co_await http.send(std::move(request));
  } catch (const TransportError& error) {
    if (error.kind() == TransportError::Kind::cancelled) throw;
    const bool answered = error.kind() == TransportError::Kind::notHTTP;
    throw UploadError(UploadError::Put{-1, answered ? "no HTTP response" : error.description()});
  }
  if (response.status < 200 || response.status > 299)
    throw UploadError(UploadError::Put{response.status, excerpt(response.body)});
}

}  // namespace quillant::PresignedPut
