#pragma once

#include <string>
#include <utility>
#include <variant>

namespace quillant {

/// What the service is told about captions when an upload is completed.
struct CaptionsDeclaration {
  /// A caption file in this language was sent.
  struct Language {
    std::string code;
    friend bool operator==(const Language&, const Language&) = default;
  };
  /// Nothing: the service keeps what it has.
  struct Unchanged {
    friend bool operator==(const Unchanged&, const Unchanged&) = default;
  };
  /// The video has none: the service drops any it holds.
  struct None {
    friend bool operator==(const None&, const None&) = default;
  };

  std::variant<Unchanged, Language, None> value;

  static CaptionsDeclaration language(std::string code) { return {Language{std::move(code)}}; }
  static CaptionsDeclaration unchanged() { return {Unchanged{}}; }
  static CaptionsDeclaration none() { return {None{}}; }

  friend bool operator==(const CaptionsDeclaration&, const CaptionsDeclaration&) = default;
};

}  // namespace quillant
