#pragma once

#include <string>
#include <string_view>

/// What texts call the machine that they are read on, its system and its settings: the one place to change
/// where a platform has words of its own.
namespace quillant::SystemWords {

inline constexpr std::string_view computer = "computer";  ///< "saved on your computer", "This computer".
inline constexpr std::string_view system = "the system";
inline constexpr std::string_view sentenceSystem = "The system";  ///< At the beginning of a sentence.

/// The program in which the user allows things.
inline constexpr std::string_view settings = "Settings";
/// What holds passwords for the user.
inline constexpr std::string_view secretStore = "keyring";
/// The keys that undo: "Use Ctrl+Z to undo the cut."
inline constexpr std::string_view undoKeys = "Ctrl+Z";

/// Where the user allows `thing`, such as "Microphone": "Settings → Privacy & Security → Microphone".
std::string whereToAllow(std::string_view thing, std::string_view separator = " → ");

}  // namespace quillant::SystemWords
