#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "CaptureEngine/Telemetry/CursorTelemetryCodec.h"
#include "Core/JSON.h"

/// Whatever the bytes are, decoding takes them or throws JSONError; what it has taken survives being written.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillant;
  CursorTelemetryPayload payload;
  try {
    payload = CursorTelemetryCodec::decode({reinterpret_cast<const char*>(data), size});
  } catch (const JSONError&) {
    return 0;
  }
  if (CursorTelemetryCodec::decode(CursorTelemetryCodec::encode(payload)) != payload) std::abort();
  return 0;
}
