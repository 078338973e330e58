#pragma once

#include <span>
#include <vector>

namespace quillant {

/// A stretch of sound in which somebody may speak, in seconds.
struct SpeechSpan {
  double start = 0;
  double end = 0;
};

/// Cuts sound at its silences, by its energy, so that a recogniser hears nothing else and its times begin
/// anew with each stretch. Pure; any thread.
namespace SpeechSpans {

/// Seconds of sound that one value of `levels` stands for.
inline constexpr double levelInterval = 0.01;

/// `levels` are root mean squares, full scale at 1. Stretches have a little silence at both ends, and are at
/// most half a minute long: longer speech is cut where it is quietest.
std::vector<SpeechSpan> find(std::span<const float> levels);

}  // namespace SpeechSpans
}  // namespace quillant
