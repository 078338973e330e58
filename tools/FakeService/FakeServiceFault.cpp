#include "tools/FakeService/FakeServiceFault.h"

#include "Core/JSON.h"

namespace quillant {

void from_json(const Json& json, FakeServiceFault& fault) {
  const FakeServiceFault standard;
  fault.step = JSON::required<FakeServiceStep>(json, "step");
  fault.failure = JSON::required<FakeServiceFailure>(json, "failure");
  fault.status = JSON::orDefault(json, "status", standard.status);
  fault.message = JSON::optional<std::string>(json, "message");
  fault.code = JSON::optional<std::string>(json, "code");
  fault.body = JSON::orDefault(json, "body", standard.body);
  fault.location = JSON::orDefault(json, "location", standard.location);
  fault.afterBytes = JSON::orDefault(json, "afterBytes", standard.afterBytes);
  fault.times = JSON::orDefault(json, "times", standard.times);
}

}  // namespace quillant
