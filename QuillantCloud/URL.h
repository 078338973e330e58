#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillant {

/// An address by its parts, each as it is written: percent-encoded.
struct URL {
  std::string scheme;                    ///< Empty in a relative one.
  std::optional<std::string> authority;  ///< What follows "//": user, host and port.
  std::string path;
  std::optional<std::string> query;
  std::optional<std::string> fragment;

  /// A name and, if there was a "=", its value; both percent-decoded.
  using QueryItem = std::pair<std::string, std::optional<std::string>>;

  /// Nothing if the text is empty or holds what an address cannot hold: blanks, letters beyond ASCII, stray
  /// percent signs.
  static std::optional<URL> parse(std::string_view text);
  std::string text() const;

  /// In lower case, without user and port; empty if there is none.
  std::string host() const;
  std::vector<QueryItem> queryItems() const;
  /// With `component`, which may hold slashes, behind the path; what a path cannot hold is encoded.
  URL appendingPath(std::string_view component) const;

  friend bool operator==(const URL&, const URL&) = default;
};

}  // namespace quillant
