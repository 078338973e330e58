#include "Editor/Timeline/TimelineEditEvent.h"

#include <type_traits>

#include "Editor/Timeline/TimelineEditState.h"

namespace quillant {

TimelineEditEffects TimelineEditState::applying(const TimelineEditEvent& event) {
  return std::visit(
      [this](const auto& rule) -> TimelineEditEffects {
        if constexpr (std::is_void_v<decltype(rule.apply(*this))>) {
          rule.apply(*this);
          return {};
        } else {
          return rule.apply(*this);
        }
      },
      event.rule);
}

}  // namespace quillant
