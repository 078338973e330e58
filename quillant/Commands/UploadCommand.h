#pragma once

#include <optional>
#include <string>

#include "Core/Task.h"
#include "quillant/CloudServices.h"

/// "quillant upload": the link first, the bytes behind it.
namespace quillant::UploadCommand {

struct Options {
  std::string file;
  std::optional<std::string> title;
};

/// Returns the exit code. Whatever fails once the entry has been saved leaves it on disk for the queue.
Task<int> run(CloudServices services, Options options);

}  // namespace quillant::UploadCommand
