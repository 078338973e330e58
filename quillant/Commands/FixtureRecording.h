#pragma once

#include <filesystem>
#include <vector>

/// A recording that nobody made: a drawn screen and a drawn face, two sounds and a pointer, the same on every
/// run. What it shows can be told from its times: the bar at the lower edge goes across the screen once, and
/// with each click a button lights up and the system's sound beeps.
namespace quillant::FixtureRecording {

/// Writes "recording-e1-fixture.mp4" and its side files into `folder`, which is made if it is not there, in
/// the place of an earlier fixture. Returns what it wrote. Blocking. Throws `FileError`, and `MediaError` of
/// kind codec.
std::vector<std::filesystem::path> write(const std::filesystem::path& folder);

}  // namespace quillant::FixtureRecording
