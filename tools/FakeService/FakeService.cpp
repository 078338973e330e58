#include "tools/FakeService/FakeService.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <fmt/format.h>
#include <fstream>
#include <string_view>

#include "Core/AtomicFile.h"
#include "Core/Date.h"
#include "Core/JSON.h"
#include "Core/UUID.h"
#include "tools/FakeService/Misbehaviour.h"

namespace quillant {

namespace {

constexpr std::string_view accountsFile = "accounts.json";
constexpr std::string_view jsonType = "application/json";
constexpr double presignSeconds = 3600;

/// One of the objects of an upload.
struct ObjectKind {
  std::string_view name;
  FakeServiceStep step;
  std::string_view contentType;
  std::string_view urlKey;
  std::string_view presenceKey;
};

constexpr auto objectKinds = std::to_array<ObjectKind>({
    {"video", FakeServiceStep::putVideo, "video/mp4", "put_video_url", "video_present"},
    {"thumb", FakeServiceStep::putThumb, "image/jpeg", "put_thumb_url", "thumb_present"},
    {"captions", FakeServiceStep::putCaptions, "text/vtt", "put_captions_url", "captions_present"},
});

std::vector<std::string> pathParts(std::string_view path) {
  std::vector<std::string> parts;
  while (!path.empty()) {
    const auto end = path.find('/');
    if (end != 0) parts.emplace_back(path.substr(0, end));
    path.remove_prefix(end == std::string_view::npos ? path.size() : end + 1);
  }
  return parts;
}

/// Asks for no permission at a real account: the page signs in whoever it is told to.
constexpr std::string_view signInPage = R"(<!doctype html><title>Sign in</title><h1>Sign in</h1>
<p><a href="/auth/google/callback?email=dev%40example.com">Continue as dev@example.com</a></p>
<p><a href="quillant://auth?error=access_denied">Cancel</a></p>
)";

}  // namespace

/// A request that is one of the steps.
struct FakeService::Call {
  FakeServiceStep step;
  std::string videoId;               ///< Empty where the step has none.
  const ObjectKind* kind = nullptr;  ///< For the steps that put an object.

  static std::optional<Call> from(const LoopbackRequest& request);
};

/// Why the service does not carry out a request.
struct FakeService::Refusal {
  int status;
  std::string message;
  std::string code;
};

std::optional<FakeService::Call> FakeService::Call::from(const LoopbackRequest& request) {
  const auto parts = pathParts(request.url.path);
  const auto is = [&](std::string_view method, std::initializer_list<std::string_view> pattern) {
    return request.method == method && parts.size() == pattern.size() &&
           std::equal(parts.begin(), parts.end(), pattern.begin(),
                      [](const auto& part, auto wanted) { return wanted == "*" || part == wanted; });
  };
  if (is("GET", {"auth", "google"})) return Call{.step = FakeServiceStep::signIn};
  if (is("GET", {"auth", "google", "callback"})) return Call{.step = FakeServiceStep::signIn};
  if (is("GET", {"api", "me"})) return Call{.step = FakeServiceStep::me};
  if (is("POST", {"api", "uploads"})) return Call{.step = FakeServiceStep::createUpload};

  // The id becomes part of a file's name.
  if (parts.size() < 3 || !UUID::parse(parts[parts.size() - 2])) return std::nullopt;
  const auto& id = parts[parts.size() - 2];
  if (is("POST", {"api", "uploads", "*", "presign"})) return Call{FakeServiceStep::refreshPresign, id};
  if (is("POST", {"api", "videos", "*", "complete"})) return Call{FakeServiceStep::completeUpload, id};
  for (const auto& kind : objectKinds)
    if (is("PUT", {"objects", "*", kind.name})) return Call{kind.step, id, &kind};
  return std::nullopt;
}

FakeService::FakeService(Options options)
    : options_(std::move(options)),
      server_([this](LoopbackExchange& exchange) { return handle(exchange); }, options_.port) {}

// What tests and the program see

std::string FakeService::signIn(const std::string& email) {
  const std::lock_guard lock(mutex_);
  auto known = accounts();
  for (const auto& [token, account] : known.items())
    if (account["email"] == email) return token;
  // Its punctuation has to be encoded in the callback, and decoded from it.
  const auto token = "qt+" + UUID::random().text() + "/=";
  known[token] = Json{{"id", UUID::random().text()},
                      {"email", email},
                      {"name", "Dev"},
                      {"plan", "free"},
                      {"limits", Json::object()}};
  std::filesystem::create_directories(options_.folder);
  AtomicFile::write(options_.folder / accountsFile, JSON::pretty(known), 0600);
  return token;
}

std::string FakeService::callback(const std::string& token) {
  std::string written;
  for (const char character : token)
    written += std::isalnum(static_cast<unsigned char>(character)) || character == '-'
                   ? std::string(1, character)
                   : fmt::format("%{:02X}", static_cast<unsigned char>(character));
  return "quillant://auth?token=" + written;
}

void FakeService::revoke(const std::string& token) {
  const std::lock_guard lock(mutex_);
  auto known = accounts();
  known.erase(token);
  AtomicFile::write(options_.folder / accountsFile, JSON::pretty(known), 0600);
}

void FakeService::fail(FakeServiceFault fault) {
  const std::lock_guard lock(mutex_);
  faults_.push_back(std::move(fault));
}

void FakeService::clearFaults() {
  const std::lock_guard lock(mutex_);
  faults_.clear();
}

std::map<FakeServiceStep, FakeService::Count> FakeService::counts() const {
  const std::lock_guard lock(mutex_);
  return counts_;
}

std::vector<std::string> FakeService::videoIds() const {
  std::vector<std::string> ids;
  std::error_code ignored;
  for (const auto& file : std::filesystem::directory_iterator(options_.folder / "uploads", ignored))
    if (file.path().extension() == ".json") ids.push_back(file.path().stem());
  std::sort(ids.begin(), ids.end());
  return ids;
}

Json FakeService::upload(const std::string& videoId) const {
  return JSON::parse(AtomicFile::read(options_.folder / "uploads" / (videoId + ".json")));
}

std::filesystem::path FakeService::objectPath(const std::string& videoId, const std::string& kind) const {
  return options_.folder / "objects" / videoId / kind;
}

// Requests

Task<> FakeService::handle(LoopbackExchange& exchange) {
  const auto call = Call::from(exchange.request);
  if (call && call->kind) {
    co_await performPut(*call, exchange);
  } else if (call) {
    co_await performCall(*call, exchange);
  } else if (exchange.request.url.path.starts_with("/_fake/")) {
    co_await handleControl(exchange);
  } else if (exchange.request.url.path.starts_with("/v/")) {
    co_await answerVideo(exchange);
  } else {
    co_await exchange.answer(404, "text/plain", "nothing here\n");
  }
}

Task<> FakeService::performCall(Call call, LoopbackExchange& exchange) {
  const auto fault = takeFault(call.step);
  if (fault && fault->failure == FakeServiceFailure::cut) {
    co_await Misbehaviour::perform(*fault, exchange);
    co_return;
  }
  std::string body = co_await exchange.readBody();
  countBytes(call.step, body.size());
  if (fault && fault->failure != FakeServiceFailure::lostAnswer) {
    co_await Misbehaviour::perform(*fault, exchange);
    co_return;
  }
  if (call.step == FakeServiceStep::signIn) {
    co_await answerSignIn(exchange);
    co_return;
  }
  int status = 200;
  Json answer;
  try {
    answer = answerTo(call, exchange.request, body);
    countPerformed(call.step);
  } catch (const Refusal& refusal) {
    status = refusal.status;
    answer = Json{{"error", refusal.message}, {"code", refusal.code}};
  } catch (const JSONError& error) {
    status = 400;
    answer = Json{{"error", error.description()}, {"code", "bad_request"}};
  }
  if (fault)
    exchange.cut();
  else
    co_await exchange.answer(status, std::string(jsonType), JSON::compact(answer));
}

Task<> FakeService::performPut(Call call, LoopbackExchange& exchange) {
  const auto fault = takeFault(call.step);
  if (fault && fault->failure != FakeServiceFailure::lostAnswer) {
    co_await Misbehaviour::perform(*fault, exchange);
    co_return;
  }
  std::optional<Refusal> refusal;
  try {
    checkSignature(call, exchange.request);
  } catch (const Refusal& thrown) {
    refusal = thrown;
  }
  if (refusal) {
    co_await exchange.answer(
        refusal->status, "application/xml",
        fmt::format("<Error><Code>{}</Code><Message>{}</Message></Error>", refusal->code, refusal->message));
    co_return;
  }
  const auto path = objectPath(call.videoId, std::string(call.kind->name));
  auto unfinished = path;
  unfinished += "-" + UUID::random().text();
  std::filesystem::create_directories(path.parent_path());
  std::ofstream file(unfinished, std::ios::binary);
  try {
    co_await exchange.readBody([&](std::string_view bytes) {
      countBytes(call.step, bytes.size());
      file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    });
  } catch (const std::exception&) {
    std::filesystem::remove(unfinished);
    throw;
  }
  file.close();
  std::filesystem::rename(unfinished, path);
  countPerformed(call.step);
  if (fault)
    exchange.cut();
  else
    co_await exchange.answer(200, "text/plain", "");
}

Task<> FakeService::answerSignIn(LoopbackExchange& exchange) {
  countPerformed(FakeServiceStep::signIn);
  const auto email = exchange.request.query("email");
  if (email.empty()) {
    co_await exchange.answer(200, "text/html", std::string(signInPage));
    co_return;
  }
  LoopbackExchange::Headers headers;
  headers.emplace_back("Location", callback(signIn(email)));
  co_await exchange.answer(302, "text/plain", "", headers);
}

/// The page behind a link: the video itself, once it is live.
Task<> FakeService::answerVideo(LoopbackExchange& exchange) {
  const auto slug = exchange.request.url.path.substr(std::string_view("/v/").size());
  for (const auto& id : videoIds()) {
    const auto reservation = upload(id);
    if (reservation["slug"] != slug || reservation["status"] != "ready") continue;
    co_await exchange.answer(200, "video/mp4", AtomicFile::read(objectPath(id, "video")));
    co_return;
  }
  co_await exchange.answer(404, "text/plain", "no such video\n");
}

/// "/_fake/faults" takes a fault by POST and forgets all by DELETE; "/_fake/counts" tells what came in.
Task<> FakeService::handleControl(LoopbackExchange& exchange) {
  const auto request = exchange.request.method + " " + exchange.request.url.path;
  std::string body = co_await exchange.readBody();
  int status = 200;
  Json answer = Json::object();
  if (request == "POST /_fake/faults") {
    try {
      fail(JSON::decode<FakeServiceFault>(JSON::parse(body)));
    } catch (const JSONError& error) {
      status = 400;
      answer["error"] = error.description();
    }
  } else if (request == "DELETE /_fake/faults") {
    clearFaults();
  } else if (request == "GET /_fake/counts") {
    for (const auto& [step, count] : counts())
      answer[std::string(rawText(step))] =
          Json{{"requests", count.requests}, {"performed", count.performed}, {"bytes", count.bytes}};
  } else {
    status = 404;
  }
  co_await exchange.answer(status, std::string(jsonType), JSON::pretty(answer) + "\n");
}

std::optional<FakeServiceFault> FakeService::takeFault(FakeServiceStep step) {
  if (options_.onRequest) options_.onRequest(step);
  const std::lock_guard lock(mutex_);
  ++counts_[step].requests;
  for (auto& fault : faults_) {
    if (fault.step != step || fault.times == 0) continue;
    --fault.times;
    return fault;
  }
  return std::nullopt;
}

void FakeService::countBytes(FakeServiceStep step, std::size_t bytes) {
  const std::lock_guard lock(mutex_);
  counts_[step].bytes += bytes;
}

void FakeService::countPerformed(FakeServiceStep step) {
  const std::lock_guard lock(mutex_);
  ++counts_[step].performed;
}

// What the service does

Json FakeService::answerTo(const Call& call, const LoopbackRequest& request, const std::string& body) {
  const auto account = accountOf(request);
  if (call.step == FakeServiceStep::me) return me(account);
  if (request.header("content-type") != jsonType) throw Refusal{415, "JSON is expected", "bad_request"};
  const auto parsed = JSON::parse(body);
  if (call.step == FakeServiceStep::createUpload) return reserve(parsed, account);
  auto reservation = uploadOf(call, account);
  if (call.step == FakeServiceStep::completeUpload) return complete(std::move(reservation), parsed);
  auto answer = signedURLs(reservation);
  for (const auto& kind : objectKinds)
    answer[std::string(kind.presenceKey)] =
        std::filesystem::exists(objectPath(call.videoId, std::string(kind.name)));
  return answer;
}

Json FakeService::me(const Json& account) const {
  int videos = 0;
  std::uintmax_t bytes = 0;
  for (const auto& id : videoIds()) {
    std::error_code missing;
    const auto size = std::filesystem::file_size(objectPath(id, "video"), missing);
    if (missing || upload(id)["account"] != account["id"]) continue;
    ++videos;
    bytes += size;
  }
  auto answer = account;
  answer["usage"] = Json{{"videos", videos}, {"bytes", bytes}};
  return answer;
}

Json FakeService::reserve(const Json& body, const Json& account) {
  const auto id = UUID::random().text();
  Json reservation = {{"video_id", id},
                      {"slug", UUID::random().text().substr(0, 8)},
                      {"status", "reserved"},
                      {"account", account["id"]},
                      {"signatures", Json::object()}};
  for (const auto* key : {"size_bytes", "duration_ms", "width", "height"})
    reservation[key] = JSON::required<std::int64_t>(body, key);
  if (body.contains("title")) reservation["title"] = JSON::required<std::string>(body, "title");
  return signedURLs(reservation);
}

/// Signs a URL for each object and writes the reservation. URLs signed before stay valid until they expire.
Json FakeService::signedURLs(Json& upload) {
  const std::string id = upload["video_id"];
  const auto expires = Date::now().unixSeconds() + presignSeconds;
  const std::string slug = upload["slug"];
  Json answer = {{"video_id", id}, {"slug", slug}, {"share_url", origin() + "/v/" + slug}};
  for (const auto& kind : objectKinds) {
    const auto signature = UUID::random().text();
    upload["signatures"][signature] = Json{{"kind", kind.name}, {"expires", expires}};
    answer[std::string(kind.urlKey)] =
        fmt::format("{}/objects/{}/{}?signature={}", origin(), id, kind.name, signature);
  }
  save(upload);
  return answer;
}

void FakeService::checkSignature(const Call& call, const LoopbackRequest& request) const {
  // As an object store has it: the URL is the authority, a second one is a fault of the client's.
  if (!request.header("authorization").empty())
    throw Refusal{400, "Only one authorization is allowed", "InvalidArgument"};
  const Refusal denied{403, "Request has expired or its signature does not match", "AccessDenied"};
  const auto signature = request.query("signature");
  std::error_code missing;
  if (!std::filesystem::exists(options_.folder / "uploads" / (call.videoId + ".json"), missing)) throw denied;
  const auto signatures = upload(call.videoId)["signatures"];
  if (!signatures.contains(signature)) throw denied;
  const auto& signedFor = signatures[signature];
  if (signedFor["kind"] != call.kind->name || signedFor["expires"] < Date::now().unixSeconds()) throw denied;
  if (request.header("content-type") != call.kind->contentType) throw denied;
}

Json FakeService::complete(Json upload, const Json& body) {
  const std::string id = upload["video_id"];
  const auto size = JSON::required<std::uintmax_t>(body, "size_bytes");
  std::error_code missing;
  const auto stored = std::filesystem::file_size(objectPath(id, "video"), missing);
  if (missing) throw Refusal{409, "the video is not there", "object_missing"};
  if (stored != size) throw Refusal{409, "the video has another size", "size_mismatch"};
  if (body.contains("captions") && body["captions"].is_null()) {
    std::filesystem::remove(objectPath(id, "captions"));
    upload.erase("captions_language");
  } else if (body.contains("captions")) {
    upload["captions_language"] = JSON::required<std::string>(body["captions"], "language");
    if (!std::filesystem::exists(objectPath(id, "captions")))
      throw Refusal{409, "the captions are not there", "captions_missing"};
  }
  upload["status"] = "ready";
  save(upload);
  return Json{{"video_id", id}, {"slug", upload["slug"]}, {"status", "ready"}};
}

// Files

Json FakeService::accounts() const {
  const auto path = options_.folder / accountsFile;
  return std::filesystem::exists(path) ? JSON::parse(AtomicFile::read(path)) : Json::object();
}

Json FakeService::accountOf(const LoopbackRequest& request) const {
  constexpr std::string_view scheme = "Bearer ";
  const auto authorization = request.header("authorization");
  const std::lock_guard lock(mutex_);
  const auto known = accounts();
  if (!authorization.starts_with(scheme) || !known.contains(authorization.substr(scheme.size())))
    throw Refusal{401, "the token is not known", "unauthorized"};
  return known[authorization.substr(scheme.size())];
}

Json FakeService::uploadOf(const Call& call, const Json& account) const {
  const Refusal unknown{404, "no such upload", "not_found"};
  std::error_code missing;
  if (!std::filesystem::exists(options_.folder / "uploads" / (call.videoId + ".json"), missing))
    throw unknown;
  auto found = upload(call.videoId);
  if (found["account"] != account["id"]) throw unknown;
  return found;
}

void FakeService::save(const Json& upload) const {
  const std::string id = upload["video_id"];
  std::filesystem::create_directories(options_.folder / "uploads");
  AtomicFile::write(options_.folder / "uploads" / (id + ".json"), JSON::pretty(upload));
}

}  // namespace quillant
