#include "quillant/Commands/ExportWords.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <functional>
#include <map>
#include <utility>

#include "Core/Text.h"
#include "Editor/Coordinator/EditorError.h"
#include "Editor/Coordinator/PresetNames.h"
#include "Editor/Project/CursorStyleRegistry.h"
#include "Editor/Timeline/TimelineClipSpeed.h"
#include "quillant/Commands/Command.h"
#include "quillant/Commands/ParseNumber.h"

namespace quillant {

namespace {

using ParseError = ExportWords::ParseError;

[[noreturn]] void refuse(const std::string& flag, const std::string& word, const std::string& valid) {
  throw ParseError(fmt::format("invalid value '{}' for {}; valid: {}", word, flag, valid));
}

template <HasRawTexts E>
std::vector<std::string_view> names(std::vector<std::string_view> first = {}) {
  for (const auto& [value, text] : rawTexts<E>) first.push_back(text);
  return first;
}

template <HasRawTexts E>
E choice(const std::string& flag, const std::string& word) {
  if (const auto value = fromRawText<E>(word)) return *value;
  refuse(flag, word, fmt::format("{}", fmt::join(names<E>(), ", ")));
}

std::optional<double> finite(std::string_view word) {
  const auto value = parseNumber<double>(word, std::chars_format::general);
  return value && std::isfinite(*value) ? value : std::nullopt;
}

double number(const std::string& flag, const std::string& word, double low, double high) {
  if (const auto value = finite(word); value && *value >= low && *value <= high) return *value;
  refuse(flag, word, fmt::format("a number from {} to {}", low, high));
}

VideoExportResolution resolution(const std::string& flag, const std::string& word) {
  const auto value = fromRawText<VideoExportResolution>(word);
  if (value && *value != VideoExportResolution::custom) return *value;
  auto valid = names<VideoExportResolution>();
  std::erase(valid, rawText(VideoExportResolution::custom));
  refuse(flag, word, fmt::format("{}; or --size <width>x<height>", fmt::join(valid, ", ")));
}

Size size(const std::string& flag, const std::string& word) {
  constexpr int longest = 8192;
  const auto cross = word.find('x');
  if (cross != std::string::npos) {
    const auto width = parseNumber<int>(std::string_view(word).substr(0, cross));
    const auto height = parseNumber<int>(std::string_view(word).substr(cross + 1));
    if (width && height && std::min(*width, *height) >= 2 && std::max(*width, *height) <= longest)
      return {static_cast<double>(*width), static_cast<double>(*height)};
  }
  refuse(flag, word, fmt::format("<width>x<height> in pixels from 2 to {}, as 1280x720", longest));
}

VideoExportFrameRate frameRate(const std::string& flag, const std::string& word) {
  std::vector<std::string> valid;
  for (const auto& [rate, text] : rawTexts<VideoExportFrameRate>) {
    const auto frames = framesPerSecond(rate);
    valid.push_back(frames ? std::to_string(*frames) : std::string(text));
    if (word == valid.back()) return rate;
  }
  refuse(flag, word, fmt::format("{}", fmt::join(valid, ", ")));
}

/// What a name means, where the editor knows it; where not, its error with the choice that only the command
/// has.
template <class Find>
auto named(Find&& find, const std::string& word) {
  try {
    return find(word);
  } catch (const EditorError& error) {
    throw ParseError(error.description() + "; or none");
  }
}

std::string zoom(const std::string& word) {
  if (word != LookOptions::none) named(PresetNames::zoom, word);
  return word;
}

BackgroundStyle background(const std::string& word) {
  return word == LookOptions::none ? TransparentBackground() : named(PresetNames::background, word);
}

std::vector<std::string> cursors() {
  std::vector<std::string> styles;
  for (const auto& definition : CursorStyleRegistry::styles()) styles.push_back(definition.id);
  return styles;
}

LookOptions::Cursor cursor(const std::string& flag, const std::string& word) {
  if (word == LookOptions::none) return {};
  const auto colon = word.find(':');
  const auto style = word.substr(0, colon);
  if (CursorStyleRegistry::definition(style)) {
    if (colon == std::string::npos) return {.style = style};
    if (const auto value = finite(word.substr(colon + 1)); value && *value >= 1 && *value <= 8)
      return {.style = style, .size = value};
  }
  refuse(flag, word,
         fmt::format("none, {}; with :<size> from 1 to 8 behind a style", fmt::join(cursors(), ", ")));
}

std::string camera(const std::string& flag, const std::string& word) {
  if (word == LookOptions::none || fromRawText<FacecamAnchor>(word)) return word;
  refuse(flag, word, fmt::format("{}", fmt::join(names<FacecamAnchor>({LookOptions::none}), ", ")));
}

std::optional<TimelineSpan> span(std::string_view word) {
  const auto dash = word.find('-', 1);
  if (dash == std::string_view::npos) return std::nullopt;
  const auto from = finite(word.substr(0, dash));
  const auto to = finite(word.substr(dash + 1));
  if (!from || !to || *from < 0 || *from >= *to) return std::nullopt;
  return TimelineSpan{*from, *to};
}

TimelineSpan cut(const std::string& flag, const std::string& word) {
  if (const auto value = span(word)) return *value;
  refuse(flag, word, "<from>-<to> in seconds, the smaller first, as 2.5-4");
}

LookOptions::Speed speed(const std::string& flag, const std::string& word,
                         const std::vector<LookOptions::Speed>& others) {
  const auto colon = word.find(':');
  const auto value = span(std::string_view(word).substr(0, colon));
  const auto factor = colon == std::string::npos ? std::nullopt : finite(word.substr(colon + 1));
  const auto& allowed = TimelineClipSpeed::allowed;
  if (!value || !factor || std::ranges::find(allowed, *factor) == allowed.end())
    refuse(flag, word, fmt::format("<from>-<to>:<speed> with a speed of {}", fmt::join(allowed, ", ")));
  for (const auto& other : others)
    if (value->start < other.span.end && other.span.start < value->end)
      throw ParseError(fmt::format("{} {} overlaps another {}", flag, word, flag));
  return {*value, *factor};
}

void captions(const std::string& flag, const std::string& word, LookOptions& look) {
  look.captions = fromRawText<TimelineCaptionStyle>(word);
  look.burnsCaptions = word != LookOptions::none;
  if (look.burnsCaptions && !look.captions)
    refuse(flag, word, fmt::format("{}", fmt::join(names<TimelineCaptionStyle>({LookOptions::none}), ", ")));
}

TimelineTranscriptTrack track(const std::string& flag, const std::string& word) {
  const auto value = fromRawText<TimelineTranscriptTrack>(word);
  if (value && *value != TimelineTranscriptTrack::audio) return *value;
  refuse(flag, word, "mic, system");
}

std::string extension(const std::filesystem::path& path) {
  return Text::lowercased(path.extension().string());
}

[[noreturn]] void refuseOutput(const std::filesystem::path& output, const std::string& endings) {
  refuse("--output", output.filename().string(), "a name that ends in " + endings);
}

VideoExportFormat format(const std::filesystem::path& output) {
  const auto ending = extension(output);
  if (!ending.empty())
    if (const auto value = fromRawText<VideoExportFormat>(ending.substr(1))) return *value;
  refuseOutput(output, ".mp4, .mov or .gif");
}

void requireEnding(const std::filesystem::path& output, std::initializer_list<const char*> endings,
                   const std::string& inWords) {
  if (std::ranges::find(endings, extension(output)) == endings.end()) refuseOutput(output, inWords);
}

/// Options that a kind of file has no use for. Ignored in silence, they would be looked for in the result.
std::vector<std::string> uselessOptions(ExportWords::Command command, const std::string& ending) {
  if (command == ExportWords::Command::frame) return {"--quality", "--frame-rate", "--gif-size", "--no-loop"};
  if (ending == ".srt" || ending == ".txt") return {"--style"};
  if (ending == ".gif") return {"--resolution", "--size", "--quality"};
  return {"--gif-size", "--no-loop"};
}

/// An option's flag, and what takes its value; or a switch.
struct Option {
  bool takesValue = true;
  std::function<void(const std::string& flag, const std::string& word)> take;
};
using Options = std::map<std::string, Option, std::less<>>;

Options captionOptionsOf(ExportWords& result) {
  using W = const std::string&;
  return {
      {"--output", {.take = [&](W, W word) { result.output = pathArgument(word); }}},
      {"--style", {.take = [&](W f, W w) { result.look.captions = choice<TimelineCaptionStyle>(f, w); }}},
      {"--track", {.take = [&](W f, W w) { result.track = track(f, w); }}},
  };
}

Options optionsOf(ExportWords& result) {
  auto& choices = result.choices;
  auto& look = result.look;
  using W = const std::string&;
  return {
      {"--output", {.take = [&](W, W word) { result.output = pathArgument(word); }}},
      {"--resolution", {.take = [&](W flag, W word) { choices.resolution = resolution(flag, word); }}},
      {"--size",
       {.take =
            [&](W flag, W word) {
              choices.customOutputSize = size(flag, word);
              choices.resolution = VideoExportResolution::custom;
            }}},
      {"--frame-rate",
       {.take =
            [&](W flag, W word) {
              choices.frameRate = frameRate(flag, word);
              result.choosesFrameRate = true;
            }}},
      {"--quality", {.take = [&](W f, W w) { choices.quality = choice<VideoExportQuality>(f, w); }}},
      {"--aspect",
       {.take = [&](W f, W w) { choices.aspectPreset = choice<VideoPreviewAspectPreset>(f, w); }}},
      {"--gif-size", {.take = [&](W f, W w) { choices.gifSize = choice<VideoExportGIFSize>(f, w); }}},
      {"--no-loop", {false, [&](W, W) { choices.gifLoops = false; }}},
      {"--plain", {false, [&](W, W) { look.isPlain = true; }}},
      {"--zoom", {.take = [&](W, W word) { look.zoom = zoom(word); }}},
      {"--background", {.take = [&](W, W word) { look.background = background(word); }}},
      {"--padding", {.take = [&](W f, W w) { look.padding = number(f, w, 0, 100); }}},
      {"--corner-radius", {.take = [&](W f, W w) { look.cornerRadius = number(f, w, 0, 180); }}},
      {"--shadow", {.take = [&](W f, W w) { look.shadow = number(f, w, 0, 1); }}},
      {"--inset", {.take = [&](W f, W w) { look.inset = number(f, w, 0, 95); }}},
      {"--cursor", {.take = [&](W f, W w) { look.cursor = cursor(f, w); }}},
      {"--camera", {.take = [&](W f, W w) { look.camera = camera(f, w); }}},
      {"--cut", {.take = [&](W f, W w) { look.cuts.push_back(cut(f, w)); }}},
      {"--speed", {.take = [&](W f, W w) { look.speeds.push_back(speed(f, w, look.speeds)); }}},
      {"--captions", {.take = [&](W f, W w) { captions(f, w, look); }}},
  };
}

}  // namespace

ExportWords ExportWords::parse(Command command, const std::vector<std::string>& words) {
  const bool isFrame = command == Command::frame;
  ExportWords result;
  std::vector<std::string> given;
  auto options = command == Command::captions ? captionOptionsOf(result) : optionsOf(result);
  if (isFrame) {
    options["--at"] = {.take = [&](const std::string& flag, const std::string& word) {
      const auto seconds = finite(word);
      if (!seconds || *seconds < 0) refuse(flag, word, "seconds from 0 on");
      result.at = *seconds;
    }};
  }
  for (auto word = words.begin(); word != words.end(); ++word) {
    if (const auto option = options.find(*word); option != options.end()) {
      const auto& flag = given.emplace_back(*word);
      if (option->second.takesValue && ++word == words.end())
        throw ParseError("missing required option " + flag + " <value>");
      option->second.take(flag, *word);
    } else if (word->starts_with("-")) {
      throw ParseError("unknown option " + *word);
    } else if (!result.subject.empty()) {
      throw ParseError("what is " + *word + "? The file to write is named by --output");
    } else {
      result.subject = *word;
    }
  }
  const auto isGiven = [&](const std::string& flag) { return std::ranges::find(given, flag) != given.end(); };
  if (result.subject.empty()) throw ParseError("missing <project id | bundle.quillant | video>");
  if (isFrame && !isGiven("--at")) throw ParseError("missing required option --at");
  if (result.output.empty()) throw ParseError("missing required option --output");
  const auto ending = extension(result.output);
  if (command == Command::exportVideo)
    result.choices.format = format(result.output);
  else if (isFrame)
    requireEnding(result.output, {".png", ".jpg", ".jpeg"}, ".png or .jpg");
  else
    requireEnding(result.output, {".vtt", ".srt", ".txt", ".json"}, ".vtt, .srt, .txt or .json");
  for (const auto& flag : uselessOptions(command, ending))
    if (isGiven(flag)) throw ParseError(flag + " has no effect on " + ending + " files");
  return result;
}

namespace {

/// A list in lines of the help's width.
std::string lines(const std::vector<std::string>& names) {
  constexpr std::size_t width = 100;
  std::string result, line = " ";
  for (std::size_t i = 0; i < names.size(); ++i) {
    const auto name = names[i] + (i + 1 < names.size() ? "," : "");
    if (line.size() + 1 + name.size() > width) {
      result += line + "\n";
      line = " ";
    }
    line += " " + name;
  }
  return result + line;
}

std::string exportHelp() {
  return fmt::format(
      R"(usage: quillant export <project id | bundle.quillant | video> --output <file.mp4|.mov|.gif> [options]
       quillant frame <project id | bundle.quillant | video> --at <seconds> --output <file.png|.jpg> [options]

Makes a finished video, or one finished picture. A video that is no project looks as a new project would, with
zooms on its clicks. The project itself is not changed. The file appears whole, or not at all.

The file:
  --resolution source|p480|p720|p1080|twoK|fourK
                              of a movie; its short side, or of twoK the long one, 2560
  --size <width>x<height>     instead of a resolution
  --frame-rate source|15|20|24|25|30|60
                              the recording's if none is given, at most 60 unless --plain; of a GIF 15,
                              and at most 50, as players slow down what is faster
  --quality low|medium|highSource
                              of a movie; highSource if none is given
  --aspect auto|wide|square|classic|vertical|tall|portrait
                              the recording's, 16:9, 1:1, 4:3, 9:16, 3:4 or 4:5
  --gif-size medium|large|original
                              480 or 720 pixels for the short side, or the recording's; medium if none is given
  --no-loop                   a GIF that plays once

The look, for this file alone:
  --plain                     the recording as it is, copied where nothing else is asked for; the options below
                              come on top
  --zoom none|<preset>        automatic zooms on the clicks: {zooms}
  --background none|<preset>  see below; none takes padding, corners and shadow away too
  --padding <0 to 100>        points of a picture whose short side has 360; so is
  --corner-radius <0 to 180>
  --shadow <0 to 1>
  --inset <0 to 95>           hundredths of the frame that become a panel
  --cursor none|<style>[:<1 to 8>]
                              see below; the number is its size
  --camera none|<anchor>      {anchors}
  --cut <from>-<to>           seconds that are left out; may be given several times
  --speed <from>-<to>:<speed> {speeds}; may be given several times
  --captions none|<style>     what is said, in the picture: {captions}; listens to it first where
                              nobody has yet

Times of cuts and speeds are seconds of the video as it would be without them.

Backgrounds:
{backgrounds}
Cursors:
{cursors})",
      fmt::arg("zooms", fmt::join(PresetNames::zooms(), ", ")),
      fmt::arg("anchors", fmt::join(names<FacecamAnchor>(), ", ")),
      fmt::arg("captions", fmt::join(names<TimelineCaptionStyle>(), ", ")),
      fmt::arg("speeds", fmt::join(TimelineClipSpeed::allowed, ", ")),
      fmt::arg("backgrounds", lines(PresetNames::backgrounds())), fmt::arg("cursors", lines(cursors())));
}

constexpr const char* captionsHelp =
    R"(usage: quillant captions <project id | bundle.quillant | video> --output <file.vtt|.srt|.txt|.json> [options]

Writes what is said in the finished video: as subtitles (WebVTT with the time of each word, or SubRip), as plain text,
or with all times as JSON. Listens to it first where nobody has yet, on this computer and nowhere else. The project
itself is not changed. The file appears whole, or not at all.

  --style box|outline|plain   of .vtt and .json: how players that can should draw it; the project's, or box
  --track mic|system          one voice of a recording alone)";

}  // namespace

std::string ExportWords::help(Command command) {
  return command == Command::captions ? captionsHelp : exportHelp();
}

}  // namespace quillant
