#include "QuillantCloud/URL.h"

#include <algorithm>
#include <fmt/format.h>

namespace quillant {

namespace {

constexpr std::string_view unreservedMarks = "-._~";
constexpr std::string_view pathMarks = "!$&'()*+,;=:@/";

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool isPathCharacter(char c) {
  return isLetter(c) || isDigit(c) || unreservedMarks.find(c) != std::string_view::npos ||
         pathMarks.find(c) != std::string_view::npos;
}

std::optional<int> hexDigit(char c) {
  if (isDigit(c)) return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return std::nullopt;
}

/// The byte of the escape that `text` begins with.
std::optional<char> escapedByte(std::string_view text) {
  if (text.size() < 3 || text[0] != '%') return std::nullopt;
  const auto high = hexDigit(text[1]);
  const auto low = hexDigit(text[2]);
  if (!high || !low) return std::nullopt;
  return static_cast<char>(*high * 16 + *low);
}

/// Whether `text` holds only path characters, whole escapes and what is in `more`.
bool isWritten(std::string_view text, std::string_view more) {
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (text[index] == '%') {
      if (!escapedByte(text.substr(index))) return false;
      index += 2;
    } else if (!isPathCharacter(text[index]) && more.find(text[index]) == std::string_view::npos) {
      return false;
    }
  }
  return true;
}

bool isScheme(std::string_view text) {
  return !text.empty() && isLetter(text.front()) && std::all_of(text.begin(), text.end(), [](char c) {
    return isLetter(c) || isDigit(c) || c == '+' || c == '-' || c == '.';
  });
}

std::string percentDecoded(std::string_view text) {
  std::string result;
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (const auto byte = escapedByte(text.substr(index))) {
      result += *byte;
      index += 2;
    } else {
      result += text[index];
    }
  }
  return result;
}

std::string encodedForPath(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (isPathCharacter(c))
      result += c;
    else
      result += fmt::format("%{:02X}", static_cast<unsigned char>(c));
  }
  return result;
}

/// Cuts `text` at the first `mark` and gives what followed it.
std::optional<std::string> cutAt(std::string_view& text, char mark) {
  const auto position = text.find(mark);
  if (position == std::string_view::npos) return std::nullopt;
  const auto rest = text.substr(position + 1);
  text = text.substr(0, position);
  return std::string(rest);
}

}  // namespace

std::optional<URL> URL::parse(std::string_view text) {
  if (text.empty()) return std::nullopt;
  URL url;
  url.fragment = cutAt(text, '#');
  url.query = cutAt(text, '?');
  const auto colon = text.find(':');
  if (colon < text.find('/')) {
    url.scheme = text.substr(0, colon);
    if (!isScheme(url.scheme)) return std::nullopt;
    text.remove_prefix(colon + 1);
  }
  if (text.starts_with("//")) {
    text.remove_prefix(2);
    url.authority = text.substr(0, text.find('/'));
    text.remove_prefix(url.authority->size());
    if (!isWritten(*url.authority, "[]")) return std::nullopt;
  }
  url.path = text;
  if (!isWritten(url.path, "") || !isWritten(url.query.value_or(""), "?") ||
      !isWritten(url.fragment.value_or(""), "?"))
    return std::nullopt;
  return url;
}

std::string URL::text() const {
  std::string result;
  if (!scheme.empty()) result += scheme + ":";
  if (authority) result += "//" + *authority;
  result += path;
  if (query) result += "?" + *query;
  if (fragment) result += "#" + *fragment;
  return result;
}

std::string URL::host() const {
  std::string_view host = authority ? std::string_view(*authority) : std::string_view();
  if (const auto user = host.rfind('@'); user != std::string_view::npos) host.remove_prefix(user + 1);
  // The colons of a bracketed address belong to the host.
  const auto port = host.find(':', host.find(']') == std::string_view::npos ? 0 : host.find(']'));
  std::string result(host.substr(0, port));
  std::transform(result.begin(), result.end(), result.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return result;
}

std::vector<URL::QueryItem> URL::queryItems() const {
  std::vector<QueryItem> items;
  if (!query) return items;
  std::string_view rest = *query;
  for (bool more = true; more;) {
    const auto end = rest.find('&');
    auto name = rest.substr(0, end);
    const auto value = cutAt(name, '=');
    items.emplace_back(percentDecoded(name), value ? std::optional(percentDecoded(*value)) : std::nullopt);
    more = end != std::string_view::npos;
    if (more) rest.remove_prefix(end + 1);
  }
  return items;
}

URL URL::appendingPath(std::string_view component) const {
  URL result = *this;
  component.remove_prefix(std::min(component.find_first_not_of('/'), component.size()));
  if (!result.path.ends_with('/')) result.path += '/';
  result.path += encodedForPath(component);
  return result;
}

}  // namespace quillant
