#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "QuillantCloud/HttpClient.h"
#include "QuillantCloud/SecretStoring.h"
#include "QuillantCloud/UploadClock.h"

namespace quillant {

/// Answers in order what it was told to, and keeps what it was asked.
class ScriptedHttpClient : public HttpClient {
 public:
  std::deque<std::variant<HttpResponse, TransportError>> answers;
  std::vector<HttpRequest> requests;
  std::function<void()> onRequest = [] {};

  void answer(int status, std::string body) {
    answers.emplace_back(HttpResponse{.status = status, .body = std::move(body)});
  }
  Task<HttpResponse> send(HttpRequest request) override {
    requests.push_back(std::move(request));
    onRequest();
    auto next = std::move(answers.at(0));
    answers.pop_front();
    if (auto* error = std::get_if<TransportError>(&next)) throw TransportError(*error);
    co_return std::get<HttpResponse>(std::move(next));
  }
};

class MemorySecrets : public SecretStoring {
 public:
  std::map<std::string, std::string> secrets;  ///< By account.

  Task<> store(SecretName name, std::string secret) override {
    secrets[name.account] = std::move(secret);
    co_return;
  }
  Task<std::optional<std::string>> load(SecretName name) override {
    const auto found = secrets.find(name.account);
    co_return found == secrets.end() ? std::nullopt : std::optional(found->second);
  }
  Task<> remove(SecretName name) override {
    secrets.erase(name.account);
    co_return;
  }
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
