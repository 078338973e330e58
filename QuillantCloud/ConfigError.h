#pragma once

#include "Core/Error.h"

namespace quillant {

/// An environment that the program cannot work in.
class ConfigError : public Error {
 public:
  enum class Kind {
    noHomeFolder,  ///< Neither `HOME` nor `XDG_DATA_HOME` is an absolute path.
    insecureURL,   ///< `QUILLANT_BASE_URL` would let others read the account's token.
  };

  explicit ConfigError(Kind kind);
  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

}  // namespace quillant
