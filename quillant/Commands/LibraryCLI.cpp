#include "quillant/Commands/LibraryCLI.h"

#include <exception>
#include <filesystem>
#include <fmt/format.h>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "Core/DiskExecutor.h"
#include "Editor/Project/ProjectLibrary.h"
#include "Editor/Timeline/PlaybackTime.h"
#include "MediaKit/Reading/AssetProbe.h"
#include "QuillantCloud/QuillantConfig.h"
#include "quillant/Commands/Console.h"
#include "quillant/Commands/ImportedVideo.h"
#include "quillant/Commands/TitledFile.h"
#include "quillant/Commands/UsageError.h"

namespace quillant {

namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;
using Item = ProjectStore::ProjectListItem;

Task<int> import(ProjectLibrary library, TitledFile named) {
  const auto video = co_await ImportedVideo::import(std::move(library), named.file, named.title);
  if (!video.isNew) Console::tell("this recording has a project already, “" + video.title + "”");
  Console::print(video.id);
  co_return ExitCode::success;
}

/// The recording's length; none, and why in `attention`, if it cannot be read.
std::string length(const Item& project, std::vector<std::string>& attention) {
  const fs::path recording = project.recordingPath.value_or("");
  std::error_code missing;
  if (!fs::exists(recording, missing)) {
    attention.push_back("recording missing: " + recording.string());
    return "-";
  }
  try {
    return formatPlaybackTime(AssetProbe::probe(recording).duration.seconds());
  } catch (const Error& error) {
    attention.push_back("recording unreadable: " + error.description());
    return "-";
  }
}

Task<int> list(ProjectLibrary library) {
  const auto projects = co_await library.projects();
  if (projects.empty()) Console::print("quillant: no projects");
  for (const auto& project : projects) {
    std::vector<std::string> attention;
    const auto duration = length(project, attention);
    if (project.interruptedCause) attention.push_back(*project.interruptedCause);
    if (project.shareStatus == ProjectShareStatus::pending) attention.push_back("upload not finished");
    std::string notes;
    for (const auto& note : attention) notes += (notes.empty() ? " — " : "; ") + note;
    Console::print(
        fmt::format("{}  {}  {:>7}  {}{}", project.id, project.createdAt, duration, project.title, notes));
  }
  co_return ExitCode::success;
}

}  // namespace

const char* const LibraryCLI::usage =
    "usage: quillant import <video> [--title <text>]\n       quillant projects";

int LibraryCLI::run(const Arguments& arguments) {
  const Words words(arguments.begin() + 2, arguments.end());
  if (words == Words{"--help"}) {
    Console::print(usage);
    return ExitCode::success;
  }
  try {
    std::optional<TitledFile> imported;
    if (arguments[1] == "import")
      imported = TitledFile::parse("import", "<video>", words);
    else if (!words.empty())
      throw UsageError{"unknown projects option " + words.front()};
    const ProjectLibrary library(QuillantConfig::projectsDirectory());
    return runBlocking(imported ? import(library, *imported) : list(library), diskExecutor());
  } catch (const UsageError& error) {
    Console::writeError(fmt::format("quillant: {}\n{}\n", error.text, usage));
    return ExitCode::usage;
  } catch (const std::exception& error) {
    Console::writeError(fmt::format("quillant: {}\n", error.what()));
    return ExitCode::failure;
  }
}

}  // namespace quillant
