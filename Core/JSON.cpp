#include "Core/JSON.h"

#include <cmath>
#include <fmt/format.h>

namespace quillant {

namespace {

std::string describeAt(const std::string& problem, const std::string& path) {
  return path.empty() ? problem : fmt::format("{}: {}", path, problem);
}

/// Builds a document from the parser's events, without recursion. Refuses deep nesting.
class Builder : public Json::json_sax_t {
 public:
  /// The member `leftOut` of the outermost object is passed over.
  Builder(Json& result, std::optional<std::string_view> leftOut) : result_(result), leftOut_(leftOut) {}

  bool null() override { return put(nullptr); }
  bool boolean(bool value) override { return put(value); }
  bool number_integer(number_integer_t value) override { return put(value); }
  bool number_unsigned(number_unsigned_t value) override { return put(value); }
  bool number_float(number_float_t value, const string_t&) override { return put(value); }
  bool string(string_t& value) override { return put(std::move(value)); }
  bool binary(binary_t&) override { return false; }  // no JSON text holds any
  bool start_object(std::size_t) override { return open(Json::value_t::object); }
  bool start_array(std::size_t) override { return open(Json::value_t::array); }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }

  bool key(string_t& key) override {
    const auto object = open_.back();
    const bool passedOver = !object || (open_.size() == 1 && key == leftOut_);
    member_ = passedOver ? nullptr : &object->get_ref<Json::object_t&>()[std::move(key)];
    return true;
  }

  bool parse_error(std::size_t position, const std::string&, const Json::exception& error) override {
    throw JSON::syntaxError(position, error);
  }

 private:
  /// Where the value now stands; null within what is passed over.
  Json* place(Json value) {
    if (open_.empty()) return &(result_ = std::move(value));
    const auto parent = open_.back();
    if (parent && parent->is_array())
      return &parent->get_ref<Json::array_t&>().emplace_back(std::move(value));
    return parent && member_ ? &(*member_ = std::move(value)) : nullptr;
  }
  template <class Value>
  bool put(Value&& value) {
    place(Json(std::forward<Value>(value)));
    return true;
  }
  bool open(Json::value_t kind) {
    if (open_.size() == JSON::maximumDepth) throw JSON::tooDeep();
    open_.push_back(place(Json(kind)));
    return true;
  }
  bool close() {
    open_.pop_back();
    return true;
  }

  Json& result_;
  std::optional<std::string_view> leftOut_;
  std::vector<Json*> open_;  ///< From the outermost inwards; null for what is passed over.
  Json* member_ = nullptr;   ///< Of the innermost object, where its next value goes.
};

Json build(std::string_view text, std::optional<std::string_view> leftOut) {
  Json result;
  Builder builder(result, leftOut);
  Json::sax_parse(text.begin(), text.end(), &builder);
  return result;
}

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
  return build(text, std::nullopt);
}

Json parseWithout(std::string_view text, std::string_view key) {
  return build(text, key);
}

JSONError syntaxError(std::size_t position, const Json::exception& error) {
  const bool range = dynamic_cast<const Json::out_of_range*>(&error) != nullptr;
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
