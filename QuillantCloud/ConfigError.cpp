#include "QuillantCloud/ConfigError.h"

namespace quillant {

namespace {

const char* text(ConfigError::Kind kind) {
  switch (kind) {
    case ConfigError::Kind::noHomeFolder:
      return "HOME is not set to a folder, so there is no place to keep anything in";
    case ConfigError::Kind::insecureURL:
      return "QUILLANT_BASE_URL must begin with https:// (http:// only for this machine); nothing was sent";
  }
  return "";
}

}  // namespace

ConfigError::ConfigError(Kind kind) : Error(text(kind)), kind_(kind) {}

}  // namespace quillant
