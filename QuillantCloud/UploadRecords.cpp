#include "QuillantCloud/UploadRecords.h"

#include "Core/JSON.h"

namespace quillant {

void from_json(const Json& json, UploadReservation& reservation) {
  reservation.videoId = JSON::required<std::string>(json, "video_id");
  reservation.slug = JSON::required<std::string>(json, "slug");
  reservation.shareURL = JSON::required<std::string>(json, "share_url");
  reservation.putVideoURL = JSON::required<std::string>(json, "put_video_url");
  reservation.putThumbURL = JSON::required<std::string>(json, "put_thumb_url");
  reservation.putCaptionsURL = JSON::optional<std::string>(json, "put_captions_url");
}

void from_json(const Json& json, RefreshResult& result) {
  result.videoId = JSON::required<std::string>(json, "video_id");
  result.slug = JSON::required<std::string>(json, "slug");
  result.shareURL = JSON::required<std::string>(json, "share_url");
  result.putVideoURL = JSON::required<std::string>(json, "put_video_url");
  result.putThumbURL = JSON::required<std::string>(json, "put_thumb_url");
  result.videoPresent = JSON::required<bool>(json, "video_present");
  result.thumbPresent = JSON::required<bool>(json, "thumb_present");
  result.putCaptionsURL = JSON::optional<std::string>(json, "put_captions_url");
  result.captionsPresent = JSON::optional<bool>(json, "captions_present");
}

void from_json(const Json& json, CompleteResult& result) {
  result.videoId = JSON::required<std::string>(json, "video_id");
  result.slug = JSON::required<std::string>(json, "slug");
  result.status = JSON::required<std::string>(json, "status");
}

}  // namespace quillant
