#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "QuillantCloud/APIError.h"
#include "QuillantCloud/HttpClient.h"
#include "QuillantCloud/QuillantUploadAPI.h"
#include "QuillantCloud/SecretStoring.h"
#include "QuillantCloud/UploadClock.h"
#include "QuillantCloud/UploadError.h"
#include "QuillantCloud/UploadTransport.h"

namespace quillant {

/// Answers in order what it was told to, and keeps what it was asked.
class ScriptedHttpClient : public HttpClient {
 public:
  using Answer = std::variant<HttpResponse, TransportError>;
  std::deque<Answer> answers;
  std::vector<HttpRequest> requests;

  void answer(int status, std::string body) {
    answers.emplace_back(HttpResponse{.status = status, .body = std::move(body)});
  }
  Task<HttpResponse> send(HttpRequest request) override {
    requests.push_back(std::move(request));
    auto next = std::move(answers.at(0));
    answers.pop_front();
    if (auto* error = std::get_if<TransportError>(&next)) throw TransportError(*error);
    co_return std::get<HttpResponse>(std::move(next));
  }
};

/// A service in memory that keeps no objects: it says of them what it is told to say.
class ScriptedAPI : public QuillantUploadAPI {
 public:
  std::vector<std::string> calls;
  RefreshResult refreshed{.videoId = "other",
                          .slug = "other",
                          .shareURL = "https://q/other",
                          .putVideoURL = "https://s/video2",
                          .putThumbURL = "https://s/thumb2"};
  std::optional<std::string> captionsURL = "https://s/captions";
  std::string status = "ready";
  std::deque<APIError> completeErrors;
  std::vector<CaptionsDeclaration> declared;

  Task<UploadReservation> createUpload(std::optional<std::string>, std::int64_t, std::int64_t, std::int64_t,
                                       std::int64_t) override {
    calls.emplace_back("create");
    UploadReservation reservation{"v1",       "slug", "https://q/slug", "https://s/video", "https://s/thumb",
                                  captionsURL};
    co_return reservation;
  }
  Task<RefreshResult> refreshPresign(std::string videoId) override {
    calls.push_back("refresh " + videoId);
    auto result = refreshed;
    result.putCaptionsURL = captionsURL;
    co_return result;
  }
  Task<CompleteResult> completeUpload(std::string videoId, std::int64_t,
                                      CaptionsDeclaration captions) override {
    calls.push_back("complete " + videoId);
    declared.push_back(captions);
    if (!completeErrors.empty()) {
      const auto error = completeErrors.front();
      completeErrors.pop_front();
      throw APIError(error);
    }
    CompleteResult result{videoId, "slug", status};
    co_return result;
  }
};

/// Takes files, or fails in order as it was told to.
class ScriptedTransport : public UploadTransport {
 public:
  std::deque<std::variant<UploadError, TransportError>> failures;
  std::vector<std::string> puts;  ///< URL and content type.

  Task<> put(std::filesystem::path, std::string url, std::string contentType, Progress progress) override {
    puts.push_back(url + " " + contentType);
    if (!failures.empty()) {
      const auto failure = failures.front();
      failures.pop_front();
      std::visit([](const auto& error) { throw error; }, failure);
    }
    progress(0.5);
    progress(1);
    co_return;
  }
};

class MemorySecrets : public SecretStoring {
 public:
  std::map<std::string, std::string> secrets;  ///< By service, "/" and account.

  Task<> store(SecretName name, std::string secret) override {
    secrets[key(name)] = std::move(secret);
    co_return;
  }
  Task<std::optional<std::string>> load(SecretName name) override {
    const auto found = secrets.find(key(name));
    co_return found == secrets.end() ? std::nullopt : std::optional(found->second);
  }
  Task<> remove(SecretName name) override {
    secrets.erase(key(name));
    co_return;
  }

 private:
  static std::string key(const SecretName& name) { return name.service + "/" + name.account; }
};

/// A clock that only sleeping moves.
struct VirtualClock {
  std::shared_ptr<Date> time = std::make_shared<Date>(*Date::parseISO8601("2026-05-04T10:00:00Z"));
  std::shared_ptr<std::vector<int>> sleeps = std::make_shared<std::vector<int>>();

  UploadClock clock() const {
    return {.now = [time = time] { return *time; },
            .sleep = [time = time, sleeps = sleeps](std::chrono::seconds duration) -> Task<> {
              sleeps->push_back(static_cast<int>(duration.count()));
              time->secondsSince2001 += static_cast<double>(duration.count());
              co_return;
            }};
  }
};

}  // namespace quillant
