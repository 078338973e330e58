#include "Editor/Project/ProjectBundle.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "Core/AtomicFile.h"
#include "Core/FileDescriptor.h"
#include "Core/JSON.h"
#include "Core/UUID.h"
#include "Editor/Project/ExclusiveRename.h"
#include "Editor/Project/FileNames.h"
#include "Editor/Project/ProjectManifest.h"
#include "Editor/Project/ProjectSourceFiles.h"

namespace quillant::ProjectBundle {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t largestText = std::size_t{1} << 28;

std::error_code lastError() {
  return {errno, std::generic_category()};
}

/// An open file or folder, and what it is called in errors.
class Opened {
 public:
  Opened(int descriptor, fs::path path) : descriptor_(descriptor), path_(std::move(path)) {
    if (!descriptor_) throw FileError("open", path_, lastError());
  }

  int get() const { return descriptor_.get(); }
  const fs::path& path() const { return path_; }
  void sync() const {
    if (::fsync(get()) != 0) throw FileError("write", path_, lastError());
  }

 private:
  FileDescriptor descriptor_;
  fs::path path_;
};

void copyContents(const Opened& from, const Opened& to) {
  std::vector<char> buffer(std::size_t{1} << 20);
  for (;;) {
    // The kernel copies where it can, without the bytes passing through here, and shares blocks where it may.
    auto copied = ::copy_file_range(from.get(), nullptr, to.get(), nullptr, std::size_t{1} << 30, 0);
    if (copied < 0 && (errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP)) {
      copied = ::read(from.get(), buffer.data(), buffer.size());
      for (ssize_t written = 0; copied > 0 && written < copied;) {
        const auto count =
            ::write(to.get(), buffer.data() + written, static_cast<std::size_t>(copied - written));
        if (count < 0 && errno != EINTR) throw FileError("write", to.path(), lastError());
        written += std::max<ssize_t>(count, 0);
      }
    }
    if (copied < 0 && errno == EINTR) continue;
    if (copied < 0) throw FileError("copy", from.path(), lastError());
    if (copied == 0) break;
  }
  to.sync();
}

void copyFile(const Opened& from, const fs::path& to) {
  const Opened target(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666), to);
  copyContents(from, target);
}

void linkOrCopy(const fs::path& from, const fs::path& to) {
  if (::linkat(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), AT_SYMLINK_FOLLOW) == 0) return;
  copyFile(Opened(::open(from.c_str(), O_RDONLY | O_CLOEXEC), from), to);
}

/// The names in a folder that belong to added sources of the recording with this stem.
std::vector<std::string> sourceNames(const fs::path& folder, const std::string& stem) {
  std::vector<std::string> result;
  std::error_code error;
  fs::directory_iterator entry(folder, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error))
    if (auto name = entry->path().filename().string();
        name.starts_with(fmt::format("{}{}", stem, ProjectSourceFiles::addedInfix)))
      result.push_back(std::move(name));
  if (error) throw FileError("read", folder, error);
  std::ranges::sort(result);
  return result;
}

/// The absolute path, as it was named: what follows a link and ".." is not guessed.
fs::path absolutePath(const fs::path& path) {
  std::error_code error;
  auto result = fs::absolute(path, error);
  if (error) throw FileError("use", path, error);
  return result.has_filename() ? result : result.parent_path();
}

bool isFile(const fs::path& path) {
  std::error_code ignored;  // what cannot be looked at cannot be copied either
  return fs::is_regular_file(path, ignored);
}

/// Opens an entry of the bundle: a plain file, or nothing where there is none. Links, pipes and folders are
/// refused, and opening one does not wait.
std::optional<Opened> openEntry(const Opened& bundle, const std::string& name) {
  const auto path = bundle.path() / name;
  const int descriptor = ::openat(bundle.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0 && errno == ENOENT) return std::nullopt;
  const BundleError refusal(
      BundleError::Kind::unsafe,
      fmt::format("{} is not a plain file — this bundle is not imported", path.string()));
  if (descriptor < 0 && errno == ELOOP) throw refusal;
  std::optional<Opened> opened(std::in_place, descriptor, path);
  struct stat status {};
  if (::fstat(opened->get(), &status) != 0) throw FileError("read", path, lastError());
  if (!S_ISREG(status.st_mode)) throw refusal;
  return opened;
}

std::optional<std::string> readEntry(const Opened& bundle, const std::string& name) {
  const auto opened = openEntry(bundle, name);
  if (!opened) return std::nullopt;
  return AtomicFile::read(fmt::format("/proc/self/fd/{}", opened->get()), largestText);
}

/// Ids and extensions of added files become parts of file names: none may lead elsewhere.
void checkSources(const ProjectEditorState& state) {
  const auto check = [](const std::string& id, const std::string& extension) {
    if (!FileNames::isPlain(id) || !FileNames::isPlain(extension))
      throw BundleError(BundleError::Kind::unsafe,
                        "an added file of this bundle has a name that leads out of it — it is not imported");
  };
  for (const auto& source : state.timelineEdits.sources) check(source.id, source.fileExtension);
  for (const auto& source : state.timelineEdits.audioSources) check(source.id, source.fileExtension);
}

Opened openBundle(const fs::path& path) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0)
    throw BundleError(BundleError::Kind::notABundle, fmt::format("{} is no project bundle", path.string()));
  return {descriptor, path};
}

std::string readProject(const Opened& bundle) {
  if (auto project = readEntry(bundle, "project.json")) return std::move(*project);
  throw BundleError(BundleError::Kind::notABundle,
                    fmt::format("{} has no project.json", bundle.path().string()));
}

Opened openScreen(const Opened& bundle) {
  if (auto screen = openEntry(bundle, "screen.mp4")) return std::move(*screen);
  throw BundleError(BundleError::Kind::missingMedia,
                    fmt::format("{} has no screen.mp4", bundle.path().string()));
}

StagingFolder makeStaging(const fs::path& mediaFolder) {
  const auto folder = absolutePath(mediaFolder);
  std::error_code ignored;  // what cannot be made cannot hold the staging folder either
  fs::create_directories(folder, ignored);
  return {folder, "import"};
}

}  // namespace

void write(const ProjectStore::ExportedProject& project, const fs::path& path) {
  const auto target = absolutePath(path);
  std::error_code ignored;
  if (fs::exists(fs::symlink_status(target, ignored)))
    throw BundleError(BundleError::Kind::exists, fmt::format("{} is already there", target.string()));
  const fs::path screen = project.screenVideoPath.value_or("");
  if (!isFile(screen))
    throw BundleError(BundleError::Kind::missingMedia,
                      fmt::format("the recording {} is not there any more", screen.string()));
  StagingFolder staging(target.parent_path(), target.filename().string());
  AtomicFile::write(staging.path() / "project.json", project.projectJSON);
  if (project.editorStateJSON)
    AtomicFile::write(staging.path() / "editorState.json", *project.editorStateJSON);
  linkOrCopy(screen, staging.path() / "screen.mp4");
  const auto addSidecar = [&](const std::optional<std::string>& sidecar, const char* name) {
    if (sidecar && isFile(*sidecar)) linkOrCopy(*sidecar, staging.path() / name);
  };
  addSidecar(project.cursorTelemetryPath, "screen.cursor.json");
  addSidecar(project.facecamVideoPath, "screen.facecam.mov");
  const auto stem = screen.stem().string();
  for (const auto& name : sourceNames(screen.parent_path(), stem))
    linkOrCopy(screen.parent_path() / name, staging.path() / ("screen" + name.substr(stem.size())));
  staging.moveTo(target);
}

Contents read(const fs::path& path) {
  const auto folder = absolutePath(path);
  const auto bundle = openBundle(folder);
  Contents contents{.manifest = JSON::decode<ProjectManifest>(JSON::parse(readProject(bundle)))};
  if (const auto text = readEntry(bundle, "editorState.json")) {
    contents.editorState = JSON::decode<ProjectEditorState>(JSON::parse(*text));
    checkSources(*contents.editorState);
  }
  contents.media.screenVideoPath = openScreen(bundle).path().string();
  contents.media.facecamOffsetMs = contents.manifest.facecamOffsetMs;
  contents.media.sourceName = contents.manifest.sourceName;
  if (const auto telemetry = openEntry(bundle, "screen.cursor.json"))
    contents.media.cursorTelemetryPath = telemetry->path().string();
  if (const auto facecam = openEntry(bundle, "screen.facecam.mov"))
    contents.media.facecamVideoPath = facecam->path().string();
  for (const auto& name : sourceNames(folder, "screen")) openEntry(bundle, name);
  return contents;
}

CopiedBundle::CopiedBundle(const fs::path& path, const fs::path& mediaFolder)
    : staging_(makeStaging(mediaFolder)) {
  const auto bundle = openBundle(path);
  projectJSON_ = readProject(bundle);
  const auto manifest = JSON::decode<ProjectManifest>(JSON::parse(projectJSON_));
  editorStateJSON_ = readEntry(bundle, "editorState.json");
  if (editorStateJSON_) checkSources(JSON::decode<ProjectEditorState>(JSON::parse(*editorStateJSON_)));

  const auto screen = openScreen(bundle);
  const auto stem =
      fmt::format("{}-{}", FileNames::fromTitle(manifest.title), UUID::random().text().substr(0, 8));
  const auto add = [&](const Opened& file, const std::string& suffix) {
    names_.push_back(stem + suffix);
    copyFile(file, staging_.path() / names_.back());
    return (staging_.parent() / names_.back()).string();
  };
  media_.screenVideoPath = add(screen, ".mp4");
  if (const auto telemetry = openEntry(bundle, "screen.cursor.json"))
    media_.cursorTelemetryPath = add(*telemetry, ".cursor.json");
  if (const auto facecam = openEntry(bundle, "screen.facecam.mov"))
    media_.facecamVideoPath = add(*facecam, ".facecam.mov");
  for (const auto& name : sourceNames(path, "screen"))
    if (const auto source = openEntry(bundle, name))
      add(*source, name.substr(std::string_view("screen").size()));
}

ProjectDocument CopiedBundle::registerIn(const ProjectStore& store) {
  std::vector<fs::path> moved;
  try {
    for (const auto& name : names_) {
      ExclusiveRename::move(staging_.path() / name, staging_.parent() / name);
      moved.push_back(staging_.parent() / name);
    }
    StagingFolder::sync(staging_.parent());
    return store.importProject(projectJSON_, editorStateJSON_, media_);
  } catch (...) {
    for (const auto& path : moved) ::unlink(path.c_str());
    throw;
  }
}

}  // namespace quillant::ProjectBundle
