#pragma once

#include <filesystem>
#include <string>

#include "Core/Task.h"
#include "QuillantCloud/HttpClient.h"
#include "QuillantCloud/UploadTransport.h"

/// Puts a file to an address that was signed for it, and is all the authority that is needed.
namespace quillant::PresignedPut {

/// Streams `file`. `progress` is called for each tenth that has been sent, as for `UploadTransport`. Throws
/// `UploadError`, and the `TransportError` of a transfer that was cancelled. `http` outlives the call.
Task<> upload(HttpClient& http, std::filesystem::path file, std::string url, std::string contentType,
              UploadTransport::Progress progress);

}  // namespace quillant::PresignedPut
