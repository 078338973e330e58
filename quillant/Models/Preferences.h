#pragma once

#include <optional>
#include <string>

#include "CaptureEngine/CaptureResolution.h"
#include "Core/JSONForward.h"
#include "Core/RawTexts.h"

namespace quillant {

enum class CountdownPreference { off, threeSeconds };
enum class FrameRatePreference { fps30, fps60 };

template <>
inline constexpr auto rawTexts<CountdownPreference> = std::to_array<RawText<CountdownPreference>>({
    {CountdownPreference::off, "off"},
    {CountdownPreference::threeSeconds, "threeSeconds"},
});
template <>
inline constexpr auto rawTexts<FrameRatePreference> = std::to_array<RawText<FrameRatePreference>>({
    {FrameRatePreference::fps30, "fps30"},
    {FrameRatePreference::fps60, "fps60"},
});
template <>
inline constexpr auto rawTexts<CaptureResolution> = std::to_array<RawText<CaptureResolution>>({
    {CaptureResolution::native, "native"},
    {CaptureResolution::p1080, "p1080"},
});

/// What the user has chosen, and what the program remembers about them.
struct Preferences {
  bool hasCompletedOnboarding = false;
  std::optional<std::string> saveLocation;  ///< Where recordings go; absent: the default folder.
  std::optional<std::string> defaultMicID;
  std::optional<std::string> shortcut;  ///< As `KeyboardShortcut::label`; absent: the standard one.
  CountdownPreference countdown = CountdownPreference::threeSeconds;
  FrameRatePreference frameRate = FrameRatePreference::fps30;
  CaptureResolution resolution = CaptureResolution::native;

  friend bool operator==(const Preferences&, const Preferences&) = default;
};

void to_json(Json& json, const Preferences& preferences);
/// A value that does not read counts as not chosen: one that is broken costs no other.
void from_json(const Json& json, Preferences& preferences);

}  // namespace quillant
