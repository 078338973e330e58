#pragma once

// For headers that only declare to_json and from_json: the parser itself is in Core/JSON.h.
#include <nlohmann/json_fwd.hpp>

namespace quillant {

using Json = nlohmann::json;

}  // namespace quillant
