#pragma once

#include <optional>
#include <string>

#include "Core/Task.h"
#include "QuillantCloud/SecretStoring.h"

/// The token of the signed-in account, kept for each profile. All throw `StoreError`; `secrets` outlives the
/// call.
namespace quillant::TokenStore {

using StoreError = SecretStoreError;

/// In place of any token from before.
Task<> save(SecretStoring& secrets, std::string token);
/// Nothing if nobody is signed in.
Task<std::optional<std::string>> load(SecretStoring& secrets);
Task<> clear(SecretStoring& secrets);

}  // namespace quillant::TokenStore
