#include "Linux/Http/CurlHttpClient.h"

#include <asio/associated_cancellation_slot.hpp>
#include <asio/associated_executor.hpp>
#include <asio/cancellation_state.hpp>
#include <asio/executor_work_guard.hpp>
#include <utility>

#include "Linux/Http/CurlLoop.h"
#include "Linux/Http/CurlTransfer.h"

namespace quillant {

namespace {

/// Calls an asynchronous operation's handler with the transfer's result, on the handler's own executor.
template <class Handler>
CurlTransfer::Completion completionFor(Handler handler) {
  const auto executor = asio::get_associated_executor(handler);
  // std::function wants what can be copied.
  auto boxed = std::make_shared<Handler>(std::move(handler));
  return [boxed = std::move(boxed), work = asio::make_work_guard(executor)](CurlTransfer::Result result) {
    asio::post(work.get_executor(), [boxed, result = std::move(result)]() mutable {
      auto unboxed = std::move(*boxed);
      unboxed(std::move(result));
    });
  };
}

/// Starts `transfer`; awaited, gives its result.
auto start(std::shared_ptr<CurlLoop> loop, std::shared_ptr<CurlTransfer> transfer) {
  return asio::async_initiate<const asio::use_awaitable_t<>&, void(CurlTransfer::Result)>(
      [loop = std::move(loop)](auto handler, std::shared_ptr<CurlTransfer> started) {
        // The slot may outlive the client and its loop.
        if (auto slot = asio::get_associated_cancellation_slot(handler); slot.is_connected())
          slot.assign([weakLoop = std::weak_ptr(loop), weak = std::weak_ptr(started)](auto) {
            const auto cancelled = weak.lock();
            const auto running = weakLoop.lock();
            if (cancelled && running) running->cancel(*cancelled);
          });
        started->onCompletion(completionFor(std::move(handler)));
        loop->start(std::move(started));
      },
      asio::use_awaitable, std::move(transfer));
}

class Client : public HttpClient {
 public:
  Client() : loop_(std::make_shared<CurlLoop>()) {}
  ~Client() override { loop_->stop(); }

  Task<HttpResponse> send(HttpRequest request) override {
    const auto state = co_await asio::this_coro::cancellation_state;
    if (state.cancelled() != asio::cancellation_type::none)
      throw TransportError(TransportError::Kind::cancelled, "the transfer was cancelled");
    auto result = co_await start(loop_, std::make_shared<CurlTransfer>(std::move(request)));
    if (auto* error = std::get_if<TransportError>(&result)) throw std::move(*error);
    co_return std::get<HttpResponse>(std::move(result));
  }

 private:
  std::shared_ptr<CurlLoop> loop_;
};

}  // namespace

std::unique_ptr<HttpClient> CurlHttpClient::make() {
  return std::make_unique<Client>();
}

}  // namespace quillant
