#pragma once

#include <string>

#include "CaptureEngine/ScreenService.h"

namespace quillant {

/// The screen of an X server.
class X11ScreenService : public ScreenService {
 public:
  /// `displayName` is of the form ":0"; empty means what DISPLAY says.
  explicit X11ScreenService(std::string displayName = {}) : displayName_(std::move(displayName)) {}

  ShareableContent content() override;
  std::unique_ptr<StreamControlling> makeStream(const StreamConfiguration& configuration,
                                                SerialQueue& sampleQueue, StreamCallbacks callbacks) override;

 private:
  std::string displayName_;
};

}  // namespace quillant
