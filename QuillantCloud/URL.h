#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillant {

/// An address by its parts, each as it is written: percent-encoded.
struct URL {
  std::string scheme;
  std::optional<std::string> authority;  ///< What follows "//": user, host and port.
  std::string path;
  std::optional<std::string> query;
  std::optional<std::string> fragment;

  /// A name and, if there was a "=", its value; both percent-decoded.
  using QueryItem = std::pair<std::string, std::optional<std::string>>;

  /// Nothing if the text has no scheme, an authority that is not a host with or without a user and a port, or
  /// holds what an address cannot hold: blanks, letters beyond ASCII, stray percent signs.
  static std::optional<URL> parse(std::string_view text);
  std::string text() const;

  /// In lower case, without user and port; empty if there is none.
  std::string host() const;
  /// Whether a browser opens it: http or https, and a host.
  bool isWebAddress() const;
  /// Whether what is sent there stays between the two ends: https to a host, or http to this machine.
  bool isSecure() const;
  std::vector<QueryItem> queryItems() const;
  /// With `component`, which may hold slashes, behind the path; what a path cannot hold is encoded.
  URL appendingPath(std::string_view component) const;

  friend bool operator==(const URL&, const URL&) = default;
};

}  // namespace quillant
