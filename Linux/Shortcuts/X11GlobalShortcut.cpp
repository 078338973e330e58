#include "Linux/Shortcuts/X11GlobalShortcut.h"

#include <asio/posix/stream_descriptor.hpp>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "Core/QueueTask.h"
#include "Core/SerialQueue.h"
#include "Linux/Shortcuts/X11Keyboard.h"
#include "Linux/X11/X11Connection.h"

namespace quillant::X11GlobalShortcut {

namespace {

/// One hold on the server and what is grabbed through it. Belongs to one queue.
class Grabs {
 public:
  Grabs(const std::string& displayName, const SerialQueue& queue, std::function<void()> onPressed)
      : x_(displayName),
        keyboard_(x_),
        readable_(queue.executor(), xcb_get_file_descriptor(x_.get())),
        onPressed_(std::move(onPressed)) {
    waitForEvents();
  }
  ~Grabs() { readable_.release(); }  // the connection closes it
  Grabs(const Grabs&) = delete;
  Grabs& operator=(const Grabs&) = delete;

  bool isAlive() const { return x_.isAlive(); }

  ShortcutRegistration registerShortcut(const KeyboardShortcut& shortcut) {
    if (shortcut == registered_) return ShortcutRegistration::registered;
    if (keyboard_.keys(shortcut).empty()) return ShortcutRegistration::unavailable;
    const bool isGrabbed = grab(shortcut);
    if (isGrabbed && registered_) release(*registered_);
    if (isGrabbed) registered_ = shortcut;
    handleEvents();
    if (!x_.isAlive()) return ShortcutRegistration::unavailable;
    return isGrabbed ? ShortcutRegistration::registered : ShortcutRegistration::taken;
  }

  bool isFree(const KeyboardShortcut& shortcut) {
    if (shortcut == registered_) return true;
    if (keyboard_.keys(shortcut).empty()) return false;
    const bool isGrabbed = grab(shortcut);
    if (isGrabbed) release(shortcut);
    handleEvents();
    return isGrabbed;
  }

 private:
  template <class Work>
  void forEachGrab(const KeyboardShortcut& shortcut, const Work& work) const {
    const auto modifiers = keyboard_.modifiers(shortcut);
    for (const auto key : keyboard_.keys(shortcut))
      for (const auto locks : keyboard_.locks()) work(key, static_cast<std::uint16_t>(modifiers | locks));
  }

  /// All of it or nothing.
  bool grab(const KeyboardShortcut& shortcut) {
    std::vector<xcb_void_cookie_t> requests;
    forEachGrab(shortcut, [&](xcb_keycode_t key, std::uint16_t modifiers) {
      requests.push_back(xcb_grab_key_checked(x_.get(), 0, x_.root(), modifiers, key, XCB_GRAB_MODE_ASYNC,
                                              XCB_GRAB_MODE_ASYNC));
    });
    bool isGrabbed = true;
    for (const auto request : requests) isGrabbed = x_.succeeded(request) && isGrabbed;
    if (!isGrabbed) release(shortcut);
    return isGrabbed;
  }

  /// Whoever asks the server for it from now on may have it.
  void release(const KeyboardShortcut& shortcut) {
    std::vector<xcb_void_cookie_t> requests;
    forEachGrab(shortcut, [&](xcb_keycode_t key, std::uint16_t modifiers) {
      requests.push_back(xcb_ungrab_key_checked(x_.get(), key, x_.root(), modifiers));
    });
    for (const auto request : requests) x_.succeeded(request);
  }

  void waitForEvents() {
    readable_.async_wait(asio::posix::stream_descriptor::wait_read, [this](std::error_code error) {
      if (error) return;
      handleEvents();
      if (x_.isAlive()) waitForEvents();
    });
  }

  /// What came while an answer was waited for is in the connection already, and wakes nobody.
  void handleEvents() {
    while (const X11Reply<xcb_generic_event_t> event{xcb_poll_for_event(x_.get())}) {
      constexpr std::uint8_t sentByAProgram = 0x80;
      switch (event->response_type & ~sentByAProgram) {
        case XCB_KEY_PRESS:
          keyPressed(reinterpret_cast<const xcb_key_press_event_t&>(*event));
          break;
        case XCB_KEY_RELEASE:
          lastRelease_ = reinterpret_cast<const xcb_key_release_event_t&>(*event).time;
          break;
        case XCB_MAPPING_NOTIFY:
          keyboardChanged(reinterpret_cast<const xcb_mapping_notify_event_t&>(*event));
          break;
        default:
          break;
      }
    }
  }

  /// A key that is held is released and pressed again by the server, both at one time.
  void keyPressed(const xcb_key_press_event_t& event) const {
    if (event.time != lastRelease_) onPressed_();
  }

  void keyboardChanged(const xcb_mapping_notify_event_t& event) {
    if (event.request == XCB_MAPPING_POINTER) return;
    if (registered_) release(*registered_);
    keyboard_ = X11Keyboard(x_);
    if (registered_ && !grab(*registered_)) registered_.reset();
  }

  X11Connection x_;
  X11Keyboard keyboard_;
  asio::posix::stream_descriptor readable_;
  const std::function<void()> onPressed_;
  std::optional<KeyboardShortcut> registered_;
  xcb_timestamp_t lastRelease_ = 0;
};

class Registering : public GlobalShortcutRegistering {
 public:
  Registering(std::string displayName, std::function<void()> onPressed)
      : displayName_(std::move(displayName)), onPressed_(std::move(onPressed)) {}
  ~Registering() override {
    queue_.sync([this] { grabs_.reset(); });
  }

  Task<ShortcutRegistration> registerShortcut(KeyboardShortcut shortcut) override {
    return runOn(queue_, registerOnQueue(this, std::move(shortcut)));
  }
  Task<bool> isFree(KeyboardShortcut shortcut) override {
    return runOn(queue_, askOnQueue(this, std::move(shortcut)));
  }

 private:
  static Task<ShortcutRegistration> registerOnQueue(Registering* self, KeyboardShortcut shortcut) {
    auto* grabs = self->connected();
    co_return grabs ? grabs->registerShortcut(shortcut) : ShortcutRegistration::unavailable;
  }
  static Task<bool> askOnQueue(Registering* self, KeyboardShortcut shortcut) {
    auto* grabs = self->connected();
    co_return grabs && grabs->isFree(shortcut);
  }

  /// Null without a server.
  Grabs* connected() {
    try {
      if (!grabs_ || !grabs_->isAlive()) {
        grabs_.reset();
        grabs_ = std::make_unique<Grabs>(displayName_, queue_, onPressed_);
      }
      return grabs_.get();
    } catch (const X11Error&) {
      return nullptr;
    }
  }

  const std::string displayName_;
  const std::function<void()> onPressed_;
  std::unique_ptr<Grabs>
      grabs_;  ///< Of the queue. Not optional: g++ 14 takes what it destroys for uninitialised.
  SerialQueue queue_{"quillant.shortcut"};
};

}  // namespace

std::unique_ptr<GlobalShortcutRegistering> make(std::string displayName, std::function<void()> onPressed) {
  return std::make_unique<Registering>(std::move(displayName), std::move(onPressed));
}

}  // namespace quillant::X11GlobalShortcut
