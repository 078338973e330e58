#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>
#include <charconv>
#include <csignal>
#include <iostream>
#include <optional>
#include <string_view>
#include <vector>

#include "tools/FakeService/FakeService.h"

namespace {

using namespace quillant;

constexpr int usageExitCode = 64;

constexpr std::string_view usage =
    R"(usage: quillant-fake-service [--folder <path>] [--port <n>]

Serves until it is interrupted. While it runs: POST a fault to /_fake/faults, DELETE /_fake/faults,
GET /_fake/counts. A fault is JSON, such as
  {"step": "putVideo", "failure": "error", "status": 503, "times": 2}
  steps     signIn me createUpload refreshPresign putVideo putThumb putCaptions completeUpload
  failures  error body cut lostAnswer hang slowDrip hugeBody redirect headerBomb
  more      status message code body location afterBytes times
)";

/// Nothing if an option is unknown or its value is no good.
std::optional<FakeService::Options> parseOptions(const std::vector<std::string_view>& words) {
  FakeService::Options options{.folder = "fake-service"};
  for (std::size_t index = 0; index < words.size(); index += 2) {
    if (index + 1 == words.size()) return std::nullopt;
    const auto value = words[index + 1];
    if (words[index] == "--folder")
      options.folder = value;
    else if (words[index] != "--port" ||
             std::from_chars(value.begin(), value.end(), options.port).ptr != value.end())
      return std::nullopt;
  }
  return options;
}

}  // namespace

int main(int count, char** arguments) {
  try {
    const auto options = parseOptions({arguments + 1, arguments + count});
    if (!options) {
      std::cerr << usage;
      return usageExitCode;
    }
    asio::io_context context;
    asio::signal_set signals(context, SIGINT, SIGTERM);
    signals.async_wait([](std::error_code, int) {});

    FakeService service(*options);
    std::cout << "The fake service keeps its files in " << std::filesystem::absolute(options->folder).string()
              << "\n\n  export QUILLANT_BASE_URL=" << service.origin()
              << "\n\nWhere a sign-in asks for the address that the page leads to:\n\n  "
              << FakeService::callback(service.signIn()) << "\n"
              << std::endl;
    context.run();
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "quillant-fake-service: " << error.what() << "\n";
    return 1;
  }
}
