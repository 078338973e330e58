#pragma once

#include <exception>
#include <string>
#include <utility>

namespace quillant {

/// The root of every error type. Each module derives a type of its own, with a kind and its payload; the
/// description is ready to be shown to a user as it stands.
class Error : public std::exception {
 public:
  const std::string& description() const { return description_; }
  const char* what() const noexcept override { return description_.c_str(); }

 protected:
  explicit Error(std::string description) : description_(std::move(description)) {}

 private:
  std::string description_;
};

/// The description of any exception: an `Error`'s own, or what the standard library says.
std::string describe(const std::exception_ptr& error);

}  // namespace quillant
