#pragma once

#include <string>
#include <vector>

namespace quillant {

/// A question, or something that the user must know before anything goes on.
struct Alert {
  enum class Role { normal, destructive, cancel };
  struct Button {
    std::string title;
    Role role = Role::normal;
    friend bool operator==(const Button&, const Button&) = default;
  };

  std::string title;
  std::string message;
  std::vector<Button> buttons;  ///< In the order in which they are read. One of role cancel is the last.

  friend bool operator==(const Alert&, const Alert&) = default;
};

}  // namespace quillant
