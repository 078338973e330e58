#include "quillant/Models/RecordingsLocation.h"

#include <system_error>

namespace quillant::RecordingsLocation {

std::filesystem::path directory(const std::optional<std::filesystem::path>& films) {
  std::error_code error;
  const auto temporary = std::filesystem::temp_directory_path(error);
  return films.value_or(error ? "/tmp" : temporary) / "Quillant";
}

}  // namespace quillant::RecordingsLocation
