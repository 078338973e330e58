#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>
#include <charconv>
#include <csignal>
#include <fmt/format.h>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "Core/JSON.h"
#include "Tests/Support/FakeService/FakeService.h"

namespace {

using namespace quillant;

constexpr int usageExitCode = 64;

constexpr std::string_view usage =
    R"(usage: quillant-fake-service [--folder <path>] [--port <n>] [--presign-seconds <n>] [--fail <fault>]...

Serves until it is interrupted. A fault is JSON, such as
  {"step": "putVideo", "failure": "error", "status": 503, "times": 2}
  steps     signIn me createUpload refreshPresign putVideo putThumb putCaptions completeUpload
  failures  error body cut lostAnswer hang slowDrip html halfJSON wrongTypes hugeBody redirect headerBomb
  more      status message code body location afterBytes skip times

While it runs: POST a fault to /_fake/faults, DELETE /_fake/faults, GET /_fake/counts.
)";

template <class Number>
bool parseNumber(std::string_view text, Number& number) {
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

/// False if an option is unknown or its value is no good.
bool parseOptions(const std::vector<std::string>& words, FakeService::Options& options,
                  std::vector<FakeServiceFault>& faults) {
  for (std::size_t index = 0; index < words.size(); index += 2) {
    if (index + 1 == words.size()) return false;
    const auto& [name, value] = std::tie(words[index], words[index + 1]);
    if (name == "--folder")
      options.folder = value;
    else if (name == "--fail")
      faults.push_back(JSON::decode<FakeServiceFault>(JSON::parse(value)));
    else if (name == "--port" ? !parseNumber(value, options.port)
                              : name != "--presign-seconds" || !parseNumber(value, options.presignSeconds))
      return false;
  }
  return true;
}

}  // namespace

int main(int count, char** arguments) {
  try {
    FakeService::Options options{.folder = "fake-service"};
    std::vector<FakeServiceFault> faults;
    if (!parseOptions({arguments + 1, arguments + count}, options, faults)) {
      std::cerr << usage;
      return usageExitCode;
    }
    asio::io_context context;
    asio::signal_set signals(context, SIGINT, SIGTERM);
    signals.async_wait([](std::error_code, int) {});

    FakeService service(options);
    for (auto& fault : faults) service.fail(std::move(fault));
    std::cout << "The fake service keeps its files in " << std::filesystem::absolute(options.folder).string()
              << "\nexport QUILLANT_BASE_URL=" << service.origin()
              << "\nquillant://auth?token=" << LoopbackText::percentEncoded(service.signIn()) << std::endl;
    context.run();
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "quillant-fake-service: " << error.what() << "\n";
    return 1;
  }
}
