#pragma once

#include <string>

#include "CaptureEngine/ScreenService.h"
#include "Linux/X11/X11Connection.h"

namespace quillant {

/// The screen of an X server.
class X11ScreenService : public ScreenService {
 public:
  /// `displayName` is of the form ":0"; empty means what DISPLAY says. A server that does not answer for as
  /// long as `patience` counts as hung.
  explicit X11ScreenService(std::string displayName = {},
                            X11Connection::Duration patience = X11Connection::defaultPatience)
      : displayName_(std::move(displayName)), patience_(patience) {}

  ShareableContent content() override;
  Task<std::unique_ptr<ScreenSession>> openSession(CaptureOptions options) override;

 private:
  const std::string displayName_;
  const X11Connection::Duration patience_;
};

}  // namespace quillant
