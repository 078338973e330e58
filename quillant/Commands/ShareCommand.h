#pragma once

#include <functional>

#include "Core/Task.h"
#include "Editor/Captions/Transcriber.h"
#include "quillant/CloudServices.h"
#include "quillant/Commands/ShareWords.h"

/// "quillant share": the link first, and what it is to show behind it.
namespace quillant::ShareCommand {

/// Returns the exit code: success only where the link shows the project as it is. Throws an `Error` in words
/// for the user. Await it on the executor of the main thread. It may be killed at any moment, and goes on
/// when it is run again.
Task<int> run(CloudServices services, std::function<Transcriber()> makeTranscriber, ShareWords words);
/// What each project's link shows, as far as this machine knows. Blocking.
Task<int> status();

}  // namespace quillant::ShareCommand
