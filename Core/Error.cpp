#include "Core/Error.h"

namespace quillant {

std::string describe(const std::exception_ptr& error) {
  if (!error) return "no error";
  try {
    std::rethrow_exception(error);
  } catch (const std::exception& exception) {
    return exception.what();
  } catch (...) {
    return "unknown error";
  }
}

}  // namespace quillant
