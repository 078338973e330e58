#include "Editor/Project/ProjectError.h"

#include <fmt/format.h>

namespace quillant {

namespace {

std::string describe(ProjectError::Kind kind, std::string_view detail) {
  switch (kind) {
    case ProjectError::Kind::missing:
      return "this project is not there any more";
    case ProjectError::Kind::unreadable:
      return fmt::format("this project cannot be read: {}", detail);
    case ProjectError::Kind::changed:
      return "this project was changed elsewhere since it was opened";
    case ProjectError::Kind::pathNotUTF8:
      return fmt::format("the path {} is not UTF-8, so a project cannot keep it; rename it", detail);
  }
  return {};
}

}  // namespace

ProjectError::ProjectError(Kind kind, std::string_view detail) : Error(describe(kind, detail)), kind_(kind) {}

}  // namespace quillant
