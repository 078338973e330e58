#include "QuillantCloud/PresignedPut.h"

#include <utility>

#include "Core/Text.h"
#include "QuillantCloud/UploadError.h"

namespace quillant::PresignedPut {

namespace {

/// Thins reports of bytes out to one for each tenth.
class TenthsOfProgress {
 public:
  explicit TenthsOfProgress(UploadTransport::Progress progress) : progress_(std::move(progress)) {}

  void operator()(std::int64_t sent, std::int64_t total) {
    if (total < 1) return;
    const double fraction = static_cast<double>(sent) / static_cast<double>(total);
    const int tenth = static_cast<int>(fraction * 10);
    if (tenth == std::exchange(lastReported_, tenth)) return;
    progress_(fraction);
  }

 private:
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
  HttpRequest request{.method = "PUT",
                      .url = std::move(url),
                      .headers = {{"Content-Type", std::move(contentType)}},
                      .body = HttpFileBody{std::move(file)},
                      .progress = TenthsOfProgress(std::move(progress))};
  HttpResponse response;
  try {
    response = co_await http.send(std::move(request));
  } catch (const TransportError& error) {
    const bool answered = error.kind() == TransportError::Kind::notHTTP;
    throw UploadError(UploadError::Put{-1, answered ? "no HTTP response" : error.description()});
  }
  if (response.status < 200 || response.status > 299)
    throw UploadError(UploadError::Put{response.status, excerpt(response.body)});
}

}  // namespace quillant::PresignedPut
