#pragma once

#include "Core/UUID.h"

namespace quillant {

/// One of the things that can be selected together. Which of them an id names is part of its identity.
struct TimelineSelectedItem {
  enum class Kind { clip, zoom, audio };

  Kind kind = Kind::clip;
  UUID id;

  static TimelineSelectedItem clip(const UUID& id) { return {Kind::clip, id}; }
  static TimelineSelectedItem zoom(const UUID& id) { return {Kind::zoom, id}; }
  static TimelineSelectedItem audio(const UUID& id) { return {Kind::audio, id}; }

  friend bool operator==(const TimelineSelectedItem&, const TimelineSelectedItem&) = default;
};

}  // namespace quillant
