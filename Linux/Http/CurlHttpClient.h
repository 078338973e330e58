#pragma once

#include <memory>

#include "QuillantCloud/HttpClient.h"

namespace quillant::CurlHttpClient {

/// A client with a thread of its own. Destroying it ends what is still under way with
/// `TransportError::Kind::cancelled`.
std::unique_ptr<HttpClient> make();

}  // namespace quillant::CurlHttpClient
