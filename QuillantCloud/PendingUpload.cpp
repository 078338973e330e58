#include "QuillantCloud/PendingUpload.h"

#include <utility>

#include "Core/JSONFields.h"
#include "Core/UUID.h"

namespace quillant {

namespace {

constexpr auto fields = [](auto& entry, const auto& field) {
  field("id", entry.id);
  field("createdAt", entry.createdAt);
  field("videoPath", entry.videoPath);
  field("thumbPath", entry.thumbPath);
  field("title", entry.title);
  field("sizeBytes", entry.sizeBytes);
  field("durationMs", entry.durationMs);
  field("width", entry.width);
  field("height", entry.height);
  field("videoId", entry.videoId);
  field("slug", entry.slug);
  field("shareURL", entry.shareURL);
  field("putVideoURL", entry.putVideoURL);
  field("putThumbURL", entry.putThumbURL);
  field("presignExpiresAt", entry.presignExpiresAt);
  field("captionsDeclared", entry.captionsDeclared);
  field("captionsPath", entry.captionsPath);
  field("captionsLanguage", entry.captionsLanguage);
  field("putCaptionsURL", entry.putCaptionsURL);
  field("captionsUploaded", entry.captionsUploaded);
  field("videoUploaded", entry.videoUploaded);
  field("thumbUploaded", entry.thumbUploaded);
  field("completed", entry.completed);
  field("attempts", entry.attempts);
  field("lastError", entry.lastError);
  field("lastAttemptAt", entry.lastAttemptAt);
  field("blockedOnAuth", entry.blockedOnAuth);
  field("editFingerprint", entry.editFingerprint);
};

// Dates stand in the file as texts.

struct Writer : JSON::FieldWriter {
  using FieldWriter::FieldWriter;
  using FieldWriter::operator();
  void operator()(const char* key, const Date& date) const { (*this)(key, date.iso8601()); }
  void operator()(const char* key, const std::optional<Date>& date) const {
    if (date) (*this)(key, *date);
  }
};

struct Reader : JSON::FieldReader {
  using FieldReader::FieldReader;
  using FieldReader::operator();
  void operator()(const char* key, std::optional<Date>& date) const {
    std::optional<std::string> text;
    (*this)(key, text);
    date = text ? Date::parseISO8601(*text) : std::nullopt;
    if (text && !date) throw JSONError(JSONError::Kind::invalidValue, "not a date", key);
  }
  void operator()(const char* key, Date& date) const {
    std::optional<Date> read;
    (*this)(key, read);
    if (!read) throw JSONError(JSONError::Kind::missing, "the key is missing", key);
    date = *read;
  }
};

}  // namespace

PendingUpload PendingUpload::make(std::string videoPath, std::optional<std::string> thumbPath,
                                  std::optional<std::string> title, std::int64_t sizeBytes,
                                  std::int64_t durationMs, std::int64_t width, std::int64_t height) {
  PendingUpload entry;
  entry.id = UUID::random().text();
  entry.createdAt = Date::now();
  entry.videoPath = std::move(videoPath);
  entry.thumbPath = std::move(thumbPath);
  entry.title = std::move(title);
  entry.sizeBytes = sizeBytes;
  entry.durationMs = durationMs;
  entry.width = width;
  entry.height = height;
  return entry;
}

bool PendingUpload::urlsAreFresh(Date now) const {
  constexpr double margin = 60;
  return presignExpiresAt && presignExpiresAt->secondsSince2001 - now.secondsSince2001 > margin;
}

CaptionsDeclaration PendingUpload::captionsDeclaration() const {
  if (!captionsDeclared.value_or(false)) return CaptionsDeclaration::unchanged();
  if (!captionsPath || !captionsLanguage) return CaptionsDeclaration::none();
  return CaptionsDeclaration::language(*captionsLanguage);
}

void PendingUpload::recordFailure(std::string error, Date now) {
  ++attempts;
  lastError = std::move(error);
  lastAttemptAt = now;
  blockedOnAuth = false;
}

void PendingUpload::recordExpiredSignIn(std::string error, Date now) {
  lastError = std::move(error);
  lastAttemptAt = now;
  blockedOnAuth = true;
}

void to_json(Json& json, const PendingUpload& entry) {
  json = Json::object();
  fields(entry, Writer(json));
}

void from_json(const Json& json, PendingUpload& entry) {
  PendingUpload read;
  fields(read, Reader(json));
  entry = std::move(read);
}

}  // namespace quillant
