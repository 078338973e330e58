#pragma once

#include "Core/Task.h"
#include "quillant/CloudServices.h"
#include "quillant/Commands/TitledFile.h"

/// "quillant upload": the link first, the bytes behind it.
namespace quillant::UploadCommand {

/// Returns the exit code. Whatever fails once the entry has been saved leaves it on disk for the queue.
Task<int> run(CloudServices services, TitledFile named);

}  // namespace quillant::UploadCommand
