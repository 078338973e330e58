#pragma once

#include <asio/io_context.hpp>
#include <chrono>
#include <future>
#include <gtest/gtest.h>

#include "Editor/Coordinator/EditorCoordinator.h"
#include "Tests/Support/Media/TestRecording.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

/// A thread of its own for the coordinator: the test's.
class CoordinatorFixture : public testing::Test {
 protected:
  ~CoordinatorFixture() override {
    // A thread that has handed its result over still lets go of the loop.
    coordinator.reset();
    loop.restart();
    loop.run_for(std::chrono::seconds(20));
  }
  template <class T>
  T run(Task<T> task) {
    loop.restart();
    std::promise<T> promise;
    if constexpr (std::is_void_v<T>)
      asio::co_spawn(loop, std::move(task), [&](std::exception_ptr error) {
        error ? promise.set_exception(error) : promise.set_value();
      });
    else
      asio::co_spawn(loop, std::move(task), [&](std::exception_ptr error, T value) {
        error ? promise.set_exception(error) : promise.set_value(std::move(value));
      });
    auto result = promise.get_future();
    while (result.wait_for(std::chrono::seconds(0)) != std::future_status::ready) loop.run_one();
    return result.get();
  }
  /// Runs the loop until `condition` holds; false if it still does not after a long time.
  bool runUntil(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      loop.restart();
      loop.run_one_for(std::chrono::milliseconds(10));
    }
    return true;
  }
  std::filesystem::path record(const TestRecording& recording = {.frames = 60}) {
    std::filesystem::remove(video);
    recording.write(video);
    return video;
  }
  void open(const TestRecording& recording = {.frames = 60}) {
    run(coordinator->load({.screenVideoPath = record(recording).string()}));
  }
  template <class Work>
  static std::string errorOf(const Work& work) {
    try {
      work();
    } catch (const Error& error) {
      return error.description();
    }
    return "";
  }

  asio::io_context loop;
  TemporaryFolder folder;
  std::filesystem::path video = folder / "x.mp4";
  std::shared_ptr<EditorCoordinator> coordinator =
      std::make_shared<EditorCoordinator>(loop.get_executor(), EditorCoordinator::Services{});
};

}  // namespace quillant
