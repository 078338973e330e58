#include "QuillantCloud/QuillantConfig.h"

#include <cstdlib>

#include "Core/Environment.h"
#include "Core/Text.h"
#include "QuillantCloud/ConfigError.h"

namespace quillant::QuillantConfig {

namespace {

std::string_view trimmingTrailingSlashes(std::string_view text) {
  while (text.ends_with('/')) text.remove_suffix(1);
  return text;
}

URL configuredURL() {
  const auto configured = Environment::value("QUILLANT_BASE_URL");
  if (const auto url = URL::parse(trimmingTrailingSlashes(configured))) return *url;
  return productionURL();
}

}  // namespace

URL productionURL() {
  const auto url = URL::parse(QUILLANT_PRODUCTION_ORIGIN);
  if (!url) std::abort();  // the build was configured with something that is no address
  return *url;
}

URL baseURL() {
  auto url = configuredURL();
  if (!url.isSecure()) throw ConfigError(ConfigError::Kind::insecureURL);
  return url;
}

std::string scope() {
  if (profileOverride && !profileOverride->empty()) return sanitizeScope(*profileOverride);
  if (const auto profile = Environment::value("QUILLANT_PROFILE"); !profile.empty())
    return sanitizeScope(profile);
  const auto host = configuredURL().host();
  const auto production = productionURL().host();
  return host == production || host.ends_with("." + production) ? "prod" : "dev";
}

std::string sanitizeScope(std::string_view text) {
  constexpr int longest = 32;
  const auto lowered = Text::lowercased(text);
  std::string result;
  int count = 0;
  for (const auto character : Text::characters(lowered)) {
    if (count == longest) break;
    if (character != "-" && !Text::isLetterOrNumber(character)) continue;
    result += character;
    ++count;
  }
  return result.empty() ? "dev" : result;
}

std::string keychainAccount() {
  return "desktop-token-" + scope();
}

std::filesystem::path supportDirectory() {
  // The base directory rules have a relative path ignored.
  if (const std::filesystem::path data = Environment::value("XDG_DATA_HOME"); data.is_absolute())
    return data / "Quillant";
  const std::filesystem::path home = Environment::value("HOME");
  if (!home.is_absolute()) throw ConfigError(ConfigError::Kind::noHomeFolder);
  return home / ".local/share/Quillant";
}

std::filesystem::path pendingUploadsDirectory() {
  return supportDirectory() / ("pending-uploads-" + scope());
}

std::filesystem::path projectsDirectory() {
  return supportDirectory() / ("projects-" + scope());
}

}  // namespace quillant::QuillantConfig
