#include "Linux/Speech/WhisperTranscript.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Core/JSON.h"
#include "Core/Text.h"
#include "Linux/Speech/HeardWord.h"

namespace quillant::WhisperTranscript {

namespace {

// What the answer holds, under the names that it has there.

struct Offsets {
  std::int64_t from = 0;  ///< Milliseconds.
  std::int64_t to = 0;
};

/// A piece of text, often less than a word and sometimes less than a character.
struct Token {
  std::string text;
  Offsets offsets;
};

struct Segment {
  std::vector<Token> tokens;
};

struct Result {
  std::string language;
};

void from_json(const Json& json, Offsets& offsets) {
  offsets = {.from = JSON::required<std::int64_t>(json, "from"),
             .to = JSON::required<std::int64_t>(json, "to")};
}

void from_json(const Json& json, Token& token) {
  token = {.text = JSON::required<std::string>(json, "text"),
           .offsets = JSON::required<Offsets>(json, "offsets")};
}

void from_json(const Json& json, Segment& segment) {
  segment.tokens = JSON::required<std::vector<Token>>(json, "tokens");
}

void from_json(const Json& json, Result& result) {
  result.language = JSON::required<std::string>(json, "language");
}

// A token may end within a character, and then the file is not UTF-8. Read as Latin-1, it is: every byte
// becomes the character of its number, and turns back into itself once the tokens are joined.

std::string charactersOf(std::string_view bytes) {
  std::string characters;
  characters.reserve(bytes.size());
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    if (value >= 0x80) characters += static_cast<char>(0xC0 | value >> 6);
    characters += value >= 0x80 ? static_cast<char>(0x80 | (value & 0x3F)) : byte;
  }
  return characters;
}

std::string bytesOf(std::string_view characters) {
  std::string bytes;
  for (std::size_t i = 0; i < characters.size(); ++i) {
    const auto value = static_cast<unsigned char>(characters[i]);
    if (value < 0x80 || value > 0xC3 || i + 1 == characters.size())
      bytes += characters[i];
    else
      bytes += static_cast<char>((value & 0x03) << 6 | (characters[++i] & 0x3F));
  }
  return bytes;
}

bool isMark(std::string_view token) {
  return (token.starts_with("[_") && token.ends_with(']')) ||
         (token.starts_with("<|") && token.ends_with("|>"));
}

/// What is told of a sound without words, as " [BLANK_AUDIO]" or " (music)".
bool isDescription(std::string_view text) {
  return (text.starts_with('[') && text.ends_with(']')) || (text.starts_with('(') && text.ends_with(')'));
}

/// A segment's text as a whole.
struct JoinedText {
  std::string text;
  std::vector<std::pair<std::size_t, Offsets>> pieces;  ///< Each with where it ends in the text.

  explicit JoinedText(const Segment& segment) {
    for (const auto& token : segment.tokens) {
      if (isMark(token.text)) continue;
      text += bytesOf(token.text);
      pieces.emplace_back(text.size(), token.offsets);
    }
  }
  /// Of the piece that the byte is in.
  Offsets offsetsAt(std::size_t byte) const {
    return std::ranges::upper_bound(pieces, byte, {}, &decltype(pieces)::value_type::first)->second;
  }
};

}  // namespace

RecognizedSpeech read(std::string_view json, double duration) {
  const auto seconds = [&](std::int64_t milliseconds) {
    return std::clamp(static_cast<double>(milliseconds) / 1000, 0.0, duration);
  };
  const auto document = JSON::parse(charactersOf(json));
  RecognizedSpeech speech{.language = JSON::orDefault(document, "result", Result()).language, .words = {}};
  for (const auto& segment : JSON::required<std::vector<Segment>>(document, "transcription")) {
    const JoinedText joined(segment);
    if (isDescription(Text::trimmed(joined.text))) continue;
    for (const auto spaced : Text::words(joined.text))
      for (const auto text : Text::wordsByDictionary(spaced)) {
        const auto first = static_cast<std::size_t>(text.data() - joined.text.data());
        if (auto word = HeardWord::of(text, seconds(joined.offsetsAt(first).from),
                                      seconds(joined.offsetsAt(first + text.size() - 1).to)))
          speech.words.push_back(std::move(*word));
      }
  }
  return speech;
}

}  // namespace quillant::WhisperTranscript
