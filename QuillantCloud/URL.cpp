#include "QuillantCloud/URL.h"

#include <algorithm>
#include <arpa/inet.h>
#include <fmt/format.h>
#include <netinet/in.h>

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

std::string lowercased(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return result;
}

/// The address in a host's brackets.
std::optional<in6_addr> bracketedAddress(std::string_view host) {
  in6_addr address{};
  if (host.size() < 2 || host.front() != '[' || host.back() != ']') return std::nullopt;
  const std::string text(host.substr(1, host.size() - 2));
  if (::inet_pton(AF_INET6, text.c_str(), &address) != 1) return std::nullopt;
  return address;
}

bool isHost(std::string_view text) {
  if (text.starts_with('[')) return bracketedAddress(text).has_value();
  return isWritten(text, "") && text.find_first_of(":@/") == std::string_view::npos;
}

bool isPort(std::string_view text) {
  constexpr std::size_t mostDigits = 5;
  return text.size() <= mostDigits && std::all_of(text.begin(), text.end(), isDigit) &&
         (text.empty() || std::stoi(std::string(text)) <= 65535);
}

/// The host of "user@host:port"; nothing if the text is no such thing.
std::optional<std::string_view> hostOf(std::string_view authority) {
  const auto at = authority.find('@');
  if (at != std::string_view::npos) {
    if (!isWritten(authority.substr(0, at), "")) return std::nullopt;
    authority.remove_prefix(at + 1);
  }
  // The colons in brackets belong to the host.
  const auto bracket = authority.find(']');
  const auto colon = authority.find(':', bracket == std::string_view::npos ? 0 : bracket);
  const auto host = authority.substr(0, colon);
  const auto port = colon == std::string_view::npos ? std::string_view() : authority.substr(colon + 1);
  if (!isHost(host) || !isPort(port)) return std::nullopt;
  return host;
}

bool isThisMachine(const std::string& host) {
  constexpr std::uint32_t loopbackNetwork = 127;
  in_addr address{};
  if (::inet_pton(AF_INET, host.c_str(), &address) == 1)
    return ntohl(address.s_addr) >> 24 == loopbackNetwork;
  const auto bracketed = bracketedAddress(host);
  return host == "localhost" || (bracketed && IN6_IS_ADDR_LOOPBACK(&*bracketed));
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
  URL url;
  url.fragment = cutAt(text, '#');
  url.query = cutAt(text, '?');
  const auto colon = text.find(':');
  url.scheme = text.substr(0, colon);
  if (colon == std::string_view::npos || !isScheme(url.scheme)) return std::nullopt;
  text.remove_prefix(colon + 1);
  if (text.starts_with("//")) {
    text.remove_prefix(2);
    url.authority = text.substr(0, text.find('/'));
    text.remove_prefix(url.authority->size());
    if (!hostOf(*url.authority)) return std::nullopt;
  }
  url.path = text;
  if (!isWritten(url.path, "") || !isWritten(url.query.value_or(""), "?") ||
      !isWritten(url.fragment.value_or(""), "?"))
    return std::nullopt;
  return url;
}

std::string URL::text() const {
  std::string result = scheme + ":";
  if (authority) result += "//" + *authority;
  result += path;
  if (query) result += "?" + *query;
  if (fragment) result += "#" + *fragment;
  return result;
}

std::string URL::host() const {
  return authority ? lowercased(hostOf(*authority).value_or("")) : std::string();
}

bool URL::isWebAddress() const {
  const auto protocol = lowercased(scheme);
  return (protocol == "https" || protocol == "http") && !host().empty();
}

bool URL::isSecure() const {
  return isWebAddress() && (lowercased(scheme) == "https" || isThisMachine(host()));
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
