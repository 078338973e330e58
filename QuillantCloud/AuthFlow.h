#pragma once

#include <memory>
#include <string>

#include "Core/Task.h"
#include "QuillantCloud/AuthError.h"
#include "QuillantCloud/HttpClient.h"
#include "QuillantCloud/Me.h"
#include "QuillantCloud/SecretStoring.h"
#include "QuillantCloud/URL.h"
#include "QuillantCloud/WebAuthenticating.h"

/// Signs the user in through the service's page in a browser. One sign-in at a time.
namespace quillant::AuthFlow {

/// The page on which a sign-in begins.
URL authURL();

/// Leads the user through the page, stores the token that comes back, and asks the service whose it is. The
/// token is stored before it is confirmed and stays if that fails; every earlier failure leaves the store as
/// it was. Throws `AuthError`, `StoreError`, `APIError`. All that is passed outlives the call.
Task<Me> login(WebAuthenticating& page, SecretStoring& secrets, std::shared_ptr<HttpClient> http);

/// Whose token it is. Throws `APIError`.
Task<Me> confirm(std::string token, std::shared_ptr<HttpClient> http);

/// The token in the query of a callback, percent-decoded: the first "token" decides. Throws `AuthError`.
std::string extractToken(const std::string& callback);

}  // namespace quillant::AuthFlow
