#pragma once

#include <filesystem>
#include <optional>

/// Where recordings go that nobody chose a place for.
namespace quillant::RecordingsLocation {

/// The folder "Quillant" in the user's folder of films, or in the temporary folder if there is none.
std::filesystem::path directory(const std::optional<std::filesystem::path>& films);

}  // namespace quillant::RecordingsLocation
