#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "Core/JSONForward.h"
#include "Core/RawTexts.h"

namespace quillant {

/// The steps of an upload, one for each kind of request that the service takes.
enum class FakeServiceStep {
  signIn,
  me,
  createUpload,
  refreshPresign,
  putVideo,
  putThumb,
  putCaptions,
  completeUpload,
};

template <>
inline constexpr auto rawTexts<FakeServiceStep> = std::to_array<RawText<FakeServiceStep>>({
    {FakeServiceStep::signIn, "signIn"},
    {FakeServiceStep::me, "me"},
    {FakeServiceStep::createUpload, "createUpload"},
    {FakeServiceStep::refreshPresign, "refreshPresign"},
    {FakeServiceStep::putVideo, "putVideo"},
    {FakeServiceStep::putThumb, "putThumb"},
    {FakeServiceStep::putCaptions, "putCaptions"},
    {FakeServiceStep::completeUpload, "completeUpload"},
});

enum class FakeServiceFailure {
  error,       ///< `status`, and a body with `message` and `code` where they are given.
  body,        ///< `status` and `body` as it stands: a page of a hotel's network, half an object.
  cut,         ///< A reset, after `afterBytes` of the request's body.
  lostAnswer,  ///< The request is carried out; instead of the answer comes a reset.
  hang,        ///< The request is read, and nothing is ever answered.
  slowDrip,    ///< An answer of one byte every 20 ms, without end.
  hugeBody,    ///< `status` and 10 MB of text.
  redirect,    ///< Status 302 to `location`.
  headerBomb,  ///< Header lines without end.
};

template <>
inline constexpr auto rawTexts<FakeServiceFailure> = std::to_array<RawText<FakeServiceFailure>>({
    {FakeServiceFailure::error, "error"},
    {FakeServiceFailure::body, "body"},
    {FakeServiceFailure::cut, "cut"},
    {FakeServiceFailure::lostAnswer, "lostAnswer"},
    {FakeServiceFailure::hang, "hang"},
    {FakeServiceFailure::slowDrip, "slowDrip"},
    {FakeServiceFailure::hugeBody, "hugeBody"},
    {FakeServiceFailure::redirect, "redirect"},
    {FakeServiceFailure::headerBomb, "headerBomb"},
});

/// What is to go wrong, where, and how often. As JSON the keys are the names of the fields, and all but
/// "step" and "failure" may be left out.
struct FakeServiceFault {
  FakeServiceStep step = FakeServiceStep::me;
  FakeServiceFailure failure = FakeServiceFailure::error;
  int status = 500;
  std::optional<std::string> message;
  std::optional<std::string> code;
  std::string body;
  std::string location;
  std::uint64_t afterBytes = 0;
  int times = 1;  ///< So many requests of the step fail.
};

void from_json(const Json& json, FakeServiceFault& fault);

}  // namespace quillant
