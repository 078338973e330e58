#include "Linux/Desktop/SingleInstance.h"

#include <asio/bind_cancellation_slot.hpp>
#include <asio/cancellation_signal.hpp>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <optional>
#include <sys/file.h>
#include <system_error>
#include <thread>
#include <utility>

#include "Core/AtomicFile.h"
#include "Core/JSON.h"
#include "Linux/Desktop/DesktopSession.h"
#include "Linux/Desktop/UserSocket.h"

namespace quillant {

namespace {

std::filesystem::path socketPath() {
  return DesktopSession::runtimeFolder() / "desktop.socket";
}

/// No descriptor while another process has the lock.
FileDescriptor lock() {
  const auto path = DesktopSession::runtimeFolder() / "desktop.lock";
  FileDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (file && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0) return file;
  if (file && errno == EWOULDBLOCK) return {};
  throw FileError("lock", path, {errno, std::generic_category()});
}

std::optional<SingleInstance::Words> decode(const std::string& line) {
  try {
    return JSON::decode<SingleInstance::Words>(JSON::parse(line));
  } catch (const JSONError&) {
    return std::nullopt;
  }
}

}  // namespace

struct SingleInstance::Listening {
  Listening(const Executor& executor, std::function<void(Words)> given)
      : socket(executor, socketPath()), onStart(std::move(given)) {}

  UserSocket socket;
  std::function<void(Words)> onStart;
  asio::cancellation_signal cancel;
  bool isEnded = false;
};

std::unique_ptr<SingleInstance> SingleInstance::claim(const Executor& executor,
                                                      std::function<void(Words)> onStart) {
  auto file = lock();
  if (!file) return nullptr;
  return std::unique_ptr<SingleInstance>(new SingleInstance(std::move(file), executor, std::move(onStart)));
}

SingleInstance::SingleInstance(FileDescriptor lock, const Executor& executor,
                               std::function<void(Words)> onStart)
    : lock_(std::move(lock)), listening_(std::make_shared<Listening>(executor, std::move(onStart))) {
  asio::co_spawn(executor, listen(listening_),
                 asio::bind_cancellation_slot(listening_->cancel.slot(),
                                              [keep = listening_](const std::exception_ptr&) {}));
}

SingleInstance::~SingleInstance() {
  listening_->isEnded = true;
  listening_->cancel.emit(asio::cancellation_type::terminal);
}

Task<> SingleInstance::listen(std::shared_ptr<Listening> listening) {
  while (!listening->isEnded) {
    const auto line =
        co_await listening->socket.receive([](const std::string& text) { return decode(text).has_value(); });
    if (!listening->isEnded) listening->onStart(*decode(line));
  }
}

bool SingleInstance::tell(const Words& words) {
  // It may have the lock and not listen yet.
  constexpr int attempts = 50;
  constexpr auto pause = std::chrono::milliseconds(100);
  const auto line = JSON::compact(words);
  for (int attempt = 0; attempt < attempts; ++attempt) {
    if (UserSocket::send(socketPath(), line)) return true;
    std::this_thread::sleep_for(pause);
  }
  return false;
}

}  // namespace quillant
