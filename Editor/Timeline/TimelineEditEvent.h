#pragma once

#include <concepts>
#include <utility>
#include <variant>

#include "Editor/Timeline/TimelineAudioEvents.h"
#include "Editor/Timeline/TimelineCameraEvents.h"
#include "Editor/Timeline/TimelineCaptionEvents.h"
#include "Editor/Timeline/TimelineClipEvents.h"
#include "Editor/Timeline/TimelineRestoreEvents.h"
#include "Editor/Timeline/TimelineSelectionEvents.h"
#include "Editor/Timeline/TimelineSnapshotEvents.h"
#include "Editor/Timeline/TimelineZoomEvents.h"

namespace quillant {

/// Any one edit, as a value: one of the structs of `TimelineEvents`, each of which holds its arguments and
/// its rule, `apply`. Each group of events lists its own at the end of its header; nothing else names them
/// all.
struct TimelineEditEvent {
  template <class... Groups>
  struct Joined;
  template <class... First, class... Second, class... Rest>
  struct Joined<std::variant<First...>, std::variant<Second...>, Rest...>
      : Joined<std::variant<First..., Second...>, Rest...> {};
  template <class... All>
  struct Joined<std::variant<All...>> {
    using Type = std::variant<All...>;
    template <class Event>
    static constexpr bool holds = (std::same_as<Event, All> || ...);
  };
  using Events =
      Joined<TimelineEvents::SnapshotEvents, TimelineEvents::SelectionEvents, TimelineEvents::ClipEvents,
             TimelineEvents::AudioEvents, TimelineEvents::CaptionEvents, TimelineEvents::ZoomEvents,
             TimelineEvents::CameraEvents, TimelineEvents::RestoreEvents>;
  using Rule = Events::Type;

  template <class Event>
  requires Events::holds<Event> TimelineEditEvent(Event event)
      : rule(std::in_place_type<Event>, std::move(event)) {}

  Rule rule;
};

}  // namespace quillant
