#pragma once

#include "Core/Task.h"
#include "quillant/CloudServices.h"

/// The commands about the uploads under way. Each returns the exit code.
namespace quillant::QueueCommands {

/// Resumes what is pending; `force` ignores the back-off after failures.
Task<int> resume(CloudServices services, bool force);
/// Shows the account and the queue, after a run of the queue where `resume` asks for one.
Task<int> status(CloudServices services, bool resume, bool force);

}  // namespace quillant::QueueCommands
