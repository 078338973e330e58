#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "Core/JSON.h"
#include "Editor/Project/ProjectDocument.h"
#include "Editor/Project/ProjectManifest.h"

// A document from anywhere either reads, and then is written and read back as the same one, or is refused
// with a JSONError.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillant;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  try {
    JSON::decode<ProjectManifest>(JSON::parse(text));
    const auto document = JSON::decode<ProjectDocument>(JSON::parse(text));
    const auto written = JSON::pretty(document);
    if (JSON::pretty(JSON::decode<ProjectDocument>(JSON::parse(written))) != written) std::abort();
  } catch (const JSONError&) {
  }
  return 0;
}
