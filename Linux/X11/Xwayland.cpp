#include "Linux/X11/Xwayland.h"

#include <string_view>
#include <xcb/randr.h>
#include <xcb/xinput.h>

namespace quillant::Xwayland {

namespace {

/// Present from version 23.1 on.
bool hasExtension(const X11Connection& x) {
  constexpr std::string_view name = "XWAYLAND";
  const auto reply =
      x.wait(xcb_query_extension_reply,
             xcb_query_extension(x.get(), static_cast<std::uint16_t>(name.size()), name.data()));
  return reply && reply->present;
}

/// Each seat's devices have been named so in every version, but a session without a seat has none.
bool hasDevices(const X11Connection& x) {
  // The version counts for the connection's other users, too: what a client asks for first is what it gets.
  if (!x.firstEvent(xcb_input_id) ||
      !x.wait(xcb_input_xi_query_version_reply, xcb_input_xi_query_version(x.get(), 2, 2)))
    return false;
  const auto reply =
      x.wait(xcb_input_xi_query_device_reply, xcb_input_xi_query_device(x.get(), XCB_INPUT_DEVICE_ALL));
  if (!reply) return false;
  for (auto it = xcb_input_xi_query_device_infos_iterator(reply.get()); it.rem;
       xcb_input_xi_device_info_next(&it)) {
    const std::string_view name(xcb_input_xi_device_info_name(it.data), it.data->name_len);
    if (name.starts_with("xwayland-")) return true;
  }
  return false;
}

/// So it named its outputs before it took over the compositor's names.
bool hasOutputs(const X11Connection& x) {
  if (!x.firstEvent(xcb_randr_id) ||
      !x.wait(xcb_randr_query_version_reply, xcb_randr_query_version(x.get(), 1, 3)))
    return false;
  const auto resources = x.wait(xcb_randr_get_screen_resources_current_reply,
                                xcb_randr_get_screen_resources_current(x.get(), x.root()));
  if (!resources) return false;
  const auto* outputs = xcb_randr_get_screen_resources_current_outputs(resources.get());
  for (int i = 0; i < xcb_randr_get_screen_resources_current_outputs_length(resources.get()); ++i) {
    const auto info = x.wait(xcb_randr_get_output_info_reply,
                             xcb_randr_get_output_info(x.get(), outputs[i], resources->config_timestamp));
    if (!info) continue;
    const std::string_view name(reinterpret_cast<const char*>(xcb_randr_get_output_info_name(info.get())),
                                info->name_len);
    if (name.starts_with("XWAYLAND")) return true;
  }
  return false;
}

}  // namespace

bool isServer(const X11Connection& x) {
  return hasExtension(x) || hasDevices(x) || hasOutputs(x);
}

}  // namespace quillant::Xwayland
