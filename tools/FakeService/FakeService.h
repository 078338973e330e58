#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Core/JSONForward.h"
#include "Core/Task.h"
#include "tools/FakeService/FakeServiceFault.h"
#include "tools/FakeService/LoopbackServer.h"

namespace quillant {

/// A stand-in for the sharing service and its object store, over real HTTP on loopback.
///
/// Everything it knows lies in its folder, so that it can be stopped and started again:
///     accounts.json             the accounts by token
///     uploads/<videoId>.json    a reservation, with the URLs that were signed for it
///     objects/<videoId>/<kind>  "video", "thumb", "captions"; an object is there whole or not at all
///
/// Its functions are safe on any thread; requests are served on the server's own.
class FakeService {
 public:
  struct Options {
    std::filesystem::path folder;
    std::uint16_t port = 0;  ///< 0 takes a free one.
    /// Is called, on the server's thread, when a request has come in and before it is carried out: the moment
    /// at which a test kills its client.
    std::function<void(FakeServiceStep)> onRequest;
  };

  /// What came in at one step.
  struct Count {
    int requests = 0;         ///< All of them, those made to fail included.
    int performed = 0;        ///< Those that were carried out.
    std::uint64_t bytes = 0;  ///< Of the bodies, as far as they were read.
  };

  explicit FakeService(Options options);

  /// What clients take as their base URL.
  std::string origin() const { return server_.origin(); }
  /// An account's token, as a sign-in on the page gives it; the account is made if there is none.
  std::string signIn(const std::string& email = "dev@example.com");
  /// Where the sign-in page leads with that token.
  static std::string callback(const std::string& token);
  /// The service refuses `token` from now on.
  void revoke(const std::string& token);

  void fail(FakeServiceFault fault);
  void clearFaults();
  std::map<FakeServiceStep, Count> counts() const;

  std::vector<std::string> videoIds() const;
  /// The reservation as it lies on disk; throws `FileError` where there is none.
  Json upload(const std::string& videoId) const;
  /// Where an object lies, or would. Removing the file is what a service does that reclaims its space.
  std::filesystem::path objectPath(const std::string& videoId, const std::string& kind) const;

 private:
  struct Call;
  struct Refusal;

  Task<> handle(LoopbackExchange& exchange);
  Task<> performCall(Call call, LoopbackExchange& exchange);
  Task<> performPut(Call call, LoopbackExchange& exchange);
  Task<> handleControl(LoopbackExchange& exchange);
  Task<> answerVideo(LoopbackExchange& exchange);
  Task<> answerSignIn(LoopbackExchange& exchange);

  std::optional<FakeServiceFault> takeFault(FakeServiceStep step);
  void countBytes(FakeServiceStep step, std::size_t bytes);
  void countPerformed(FakeServiceStep step);

  Json answerTo(const Call& call, const LoopbackRequest& request, const std::string& body);
  Json me(const Json& account) const;
  Json reserve(const Json& body, const Json& account);
  Json signedURLs(Json& upload);
  Json complete(Json upload, const Json& body);
  void checkSignature(const Call& call, const LoopbackRequest& request) const;

  Json accounts() const;
  Json accountOf(const LoopbackRequest& request) const;
  Json uploadOf(const Call& call, const Json& account) const;
  void save(const Json& upload) const;

  Options options_;
  mutable std::mutex mutex_;  ///< Guards what follows, and the file of accounts.
  std::vector<FakeServiceFault> faults_;
  std::map<FakeServiceStep, Count> counts_;
  LoopbackServer server_;  ///< The last member: it serves until it is destroyed.
};

}  // namespace quillant
