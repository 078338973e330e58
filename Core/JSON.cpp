#include "Core/JSON.h"

#include <cmath>
#include <fmt/format.h>

namespace quillant {

namespace {

std::string describeAt(const std::string& problem, const std::string& path) {
  return path.empty() ? problem : fmt::format("{}: {}", path, problem);
}

/// Builds a document as nlohmann's own handler does, and refuses deep nesting.
class DepthLimit : public nlohmann::detail::json_sax_dom_parser<Json> {
  using Base = nlohmann::detail::json_sax_dom_parser<Json>;

 public:
  explicit DepthLimit(Json& result) : Base(result, false) {}

  bool start_object(std::size_t length) { return enter() && Base::start_object(length); }
  bool start_array(std::size_t length) { return enter() && Base::start_array(length); }
  bool end_object() { return leave() && Base::end_object(); }
  bool end_array() { return leave() && Base::end_array(); }
  bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception& error) {
    throw JSON::syntaxError(position, error);
  }

 private:
  bool enter() {
    if (++depth_ > JSON::maximumDepth) throw JSON::tooDeep();
    return true;
  }
  bool leave() {
    --depth_;
    return true;
  }

  std::size_t depth_ = 0;
};

void requireFinite(const Json& json) {
  if (json.is_number_float() && !std::isfinite(json.get_ref<const Json::number_float_t&>()))
    throw JSONError(JSONError::Kind::invalidValue, "the number is not finite");
  if (!json.is_structured()) return;
  for (auto at = json.begin(); at != json.end(); ++at) {
    try {
      requireFinite(*at);
    } catch (const JSONError& error) {
      throw error.inside(json.is_object() ? at.key() : fmt::format("[{}]", at - json.begin()));
    }
  }
}

std::string dump(const Json& json, int indentation) {
  requireFinite(json);
  return json.dump(indentation, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

JSONError::JSONError(Kind kind, std::string problem, std::string path)
    : Error(describeAt(problem, path)), kind_(kind), problem_(std::move(problem)), path_(std::move(path)) {}

JSONError JSONError::inside(std::string_view step) const {
  const bool joined = path_.empty() || path_.front() == '[';
  return {kind_, problem_, std::string(step) + (joined ? "" : ".") + path_};
}

namespace JSON {

Json parse(std::string_view text) {
  Json result;
  DepthLimit handler(result);
  Json::sax_parse(text.begin(), text.end(), &handler);
  return result;
}

JSONError syntaxError(std::size_t position, const nlohmann::detail::exception& error) {
  const bool range = dynamic_cast<const nlohmann::detail::out_of_range*>(&error) != nullptr;
  return {JSONError::Kind::malformed, range ? fmt::format("a number at byte {} is too large", position)
                                            : fmt::format("not valid JSON at byte {}", position)};
}

JSONError tooDeep() {
  return {JSONError::Kind::malformed, fmt::format("nested deeper than {} levels", maximumDepth)};
}

std::string pretty(const Json& json) {
  return dump(json, 2);
}

std::string compact(const Json& json) {
  return dump(json, -1);
}

void throwWrongType(const Json& json, std::string_view expected) {
  throw JSONError(JSONError::Kind::wrongType,
                  fmt::format("expected {}, found {}", expected, json.type_name()));
}

}  // namespace JSON
}  // namespace quillant
