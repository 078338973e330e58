#include "quillant/Commands/CommandLoop.h"

#include <asio/bind_cancellation_slot.hpp>
#include <asio/cancellation_signal.hpp>
#include <asio/signal_set.hpp>
#include <csignal>
#include <exception>

#include "quillant/Commands/Command.h"

namespace quillant {

int CommandLoop::run(Task<int> task, std::function<void()> onInterrupt) {
  asio::signal_set interrupts(loop_, SIGINT, SIGTERM);
  asio::cancellation_signal cancel;
  if (!onInterrupt) onInterrupt = [&] { cancel.emit(asio::cancellation_type::terminal); };
  interrupts.async_wait([&](std::error_code error, int) {
    if (!error) onInterrupt();
  });
  int code = ExitCode::failure;
  std::exception_ptr failure;
  asio::co_spawn(loop_, std::move(task),
                 asio::bind_cancellation_slot(cancel.slot(), [&](std::exception_ptr error, int result) {
                   failure = error;
                   code = result;
                   interrupts.cancel();
                 }));
  loop_.run();
  if (failure) std::rethrow_exception(failure);
  return code;
}

}  // namespace quillant
