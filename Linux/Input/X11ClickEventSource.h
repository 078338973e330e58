#pragma once

#include <memory>
#include <string>

#include "CaptureEngine/ClickEventSource.h"

namespace quillant {

/// The clicks of an X desktop, over whichever window and under whatever grab they happen. `displayName` is of
/// the form ":0"; empty means what DISPLAY says. Its `start` answers false where there is no server, or one
/// without the second version of the input extension.
std::unique_ptr<ClickEventSource> makeX11ClickEventSource(std::string displayName = {});

}  // namespace quillant
