#pragma once

#include "Core/Task.h"
#include "tools/FakeService/FakeServiceFault.h"
#include "tools/FakeService/LoopbackServer.h"

/// The answers of a service, or of something between it and its client, that does what it should not.
namespace quillant::Misbehaviour {

/// Plays `fault`, whatever the request; what would have been answered is nobody's business any more.
Task<> perform(FakeServiceFault fault, LoopbackExchange& exchange);

}  // namespace quillant::Misbehaviour
