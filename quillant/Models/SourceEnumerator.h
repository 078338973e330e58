#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CaptureEngine/ScreenService.h"
#include "Core/OwningSequence.h"
#include "Core/PixelBuffer.h"
#include "Core/SerialQueue.h"
#include "Core/Signal.h"
#include "Core/Task.h"

namespace quillant {

/// The displays and windows that a recording can take, and what the displays show. Belongs to the main
/// thread; the desktop is asked off it.
class SourceEnumerator : public std::enable_shared_from_this<SourceEnumerator> {
 public:
  struct Environment {
    /// Blocking; throws `ScreenError`.
    std::function<ShareableContent()> content;
    /// What a display shows, made small. Blocking; throws `Error`.
    std::function<PixelBufferRef(std::uint32_t displayID)> thumbnail;
    std::chrono::milliseconds interval = std::chrono::seconds(2);
  };

  static std::shared_ptr<SourceEnumerator> make(Executor mainThread, Environment environment);

  const std::vector<DisplayInfo>& displays() const { return content_.displays; }
  /// Those that `isListed` lets through, in the order of `sorted`.
  const std::vector<WindowInfo>& windows() const { return content_.windows; }
  /// Null while there is none.
  PixelBufferRef thumbnail(std::uint32_t displayID) const;
  /// Why nothing can be listed; absent when it could.
  const std::optional<std::string>& problem() const { return problem_; }
  Signal<> changed;

  /// The main display, else the first; nothing without displays.
  std::optional<std::uint32_t> fallbackDisplay() const;

  /// Lists now.
  Task<> enumerate();
  /// Lists, and takes pictures of the displays, now and then again and again.
  void start();
  /// Lets the pictures go.
  void stop();

  /// Whether a window is one that a user would record.
  static bool isListed(const WindowInfo& window);
  /// By the name of the program, as people sort; equal names stay in their order.
  static std::vector<WindowInfo> sorted(std::vector<WindowInfo> windows);
  /// "Untitled" where it has none that can be read.
  static std::string title(const WindowInfo& window);

 private:
  struct Listing {
    ShareableContent content;
    std::optional<std::string> problem;
  };
  using Thumbnails = std::map<std::uint32_t, PixelBufferRef>;

  SourceEnumerator(Executor mainThread, Environment environment);
  static Task<Listing> list(std::shared_ptr<SourceEnumerator> self);
  static Task<Thumbnails> takePictures(std::shared_ptr<SourceEnumerator> self,
                                       std::vector<std::uint32_t> displays);
  static Task<> repeat(std::weak_ptr<SourceEnumerator> weak, std::uint64_t run);

  const Executor mainThread_;
  const OwningSequence sequence_{mainThread_};
  const Environment environment_;
  ShareableContent content_;
  std::optional<std::string> problem_;
  Thumbnails thumbnails_;
  std::uint64_t run_ = 0;  ///< Rises with every start and stop: what belongs to an earlier one ends.
  SerialQueue queue_{"quillant.sources"};  ///< Waits for the desktop.
};

}  // namespace quillant
