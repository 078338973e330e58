#pragma once

#include <string>

#include "Core/Error.h"

namespace quillant {

/// Why a project could not be read or written, where no file error says it.
class ProjectError : public Error {
 public:
  enum class Kind {
    missing,      ///< there is no such document: it was deleted, or never was
    unreadable,   ///< the document is there and cannot be read: damaged, or the disk fails
    changed,      ///< what was to be replaced is not what the writer started from: load it again
    pathNotUTF8,  ///< a document would have to keep a path that is no text
  };
  /// `detail` is why it is unreadable, or the path.
  explicit ProjectError(Kind kind, std::string_view detail = {});
  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

}  // namespace quillant
