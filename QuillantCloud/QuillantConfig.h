#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "QuillantCloud/URL.h"

/// Where the service is, and where what belongs to an account is kept. Everything is worked out afresh at
/// each call, from the environment and `profileOverride`.
namespace quillant::QuillantConfig {

inline constexpr std::string_view callbackScheme = "quillant";
inline constexpr std::string_view keychainService = "com.quillant.desktop";

/// The profile asked for on the command line. Written before the first thread starts, only read afterwards.
inline std::optional<std::string> profileOverride;

/// The service that this program was built for; `QUILLANT_PRODUCTION_ORIGIN` when the build is configured.
URL productionURL();
/// `QUILLANT_BASE_URL` from the environment if that is an address, without slashes at its end; otherwise the
/// production service. Throws `ConfigError` unless it is https, or http to this machine.
URL baseURL();

/// The profile's name, fit for a file name: "prod" or "dev", unless one was asked for by `profileOverride` or
/// `QUILLANT_PROFILE`.
std::string scope();
/// In lower case, only letters, numbers and "-", at most 32 characters; "dev" if nothing is left.
std::string sanitizeScope(std::string_view text);

/// With `keychainService`, what the account's token is kept under.
std::string keychainAccount();
/// "Quillant" in the user's folder for applications' data. Throws `ConfigError` where there is none: never is
/// it the working folder.
std::filesystem::path supportDirectory();
std::filesystem::path pendingUploadsDirectory();
std::filesystem::path projectsDirectory();

}  // namespace quillant::QuillantConfig
