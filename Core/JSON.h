#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "Core/Error.h"
#include "Core/JSONForward.h"
#include "Core/RawTexts.h"

namespace quillant {

/// Why a JSON text or value could not be read. `path()` names the place, as "clips[3].start"; it is empty
/// for the text as a whole.
class JSONError : public Error {
 public:
  enum class Kind {
    malformed,     ///< not JSON, or nested too deeply
    missing,       ///< a required key is absent
    wrongType,     ///< a value of another type
    invalidValue,  ///< the right type, and a value that is not allowed
  };

  JSONError(Kind kind, std::string problem, std::string path = {});
  Kind kind() const { return kind_; }
  const std::string& path() const { return path_; }
  /// The same error, seen from the value that holds this one under `step` ("clips" or "[3]").
  JSONError inside(std::string_view step) const;

 private:
  Kind kind_;
  std::string problem_;
  std::string path_;
};

/// Reading and writing of JSON. Unknown keys are ignored, a repeated key counts as its last occurrence, and a
/// null counts as missing for optional keys. Every function that reads throws `JSONError` and nothing else.
namespace JSON {

/// Deeper nesting is refused, so that no reader of the result can be led into deep recursion.
inline constexpr std::size_t maximumDepth = 128;

Json parse(std::string_view text);
/// As `parse`, without building what the outermost object holds under `key`.
Json parseWithout(std::string_view text, std::string_view key);
/// Two spaces a level, keys sorted, no new line at the end. Bytes that are not UTF-8 become U+FFFD. JSON has
/// no text for a number that is not finite: writing one throws a `JSONError` rather than make a document that
/// cannot be read back.
std::string pretty(const Json& json);
/// As `pretty`, without white space.
std::string compact(const Json& json);

// What a handler of the parser's events throws, for a document that is not to be held as a tree.
JSONError syntaxError(std::size_t position, const Json::exception& error);
JSONError tooDeep();

[[noreturn]] void throwWrongType(const Json& json, std::string_view expected);

template <class T>
T decode(const Json& json);

namespace detail {

template <class T>
inline constexpr bool isVector = false;
template <class E, class A>
inline constexpr bool isVector<std::vector<E, A>> = true;

template <class T>
T decodeInteger(const Json& json) {
  const auto outOfRange = [] {
    return JSONError(JSONError::Kind::invalidValue, "the number does not fit its field");
  };
  if (json.is_number_unsigned()) {
    const auto value = json.get_ref<const Json::number_unsigned_t&>();
    if (!std::in_range<T>(value)) throw outOfRange();
    return static_cast<T>(value);
  }
  if (json.is_number_integer()) {
    const auto value = json.get_ref<const Json::number_integer_t&>();
    if (!std::in_range<T>(value)) throw outOfRange();
    return static_cast<T>(value);
  }
  if (!json.is_number_float()) throwWrongType(json, "an integer");
  const double value = json.get_ref<const Json::number_float_t&>();
  if (value != std::trunc(value)) throwWrongType(json, "an integer");
  if (value < -9.2e18 || value > 9.2e18 || !std::in_range<T>(static_cast<std::int64_t>(value)))
    throw outOfRange();
  return static_cast<T>(value);
}

/// Runs `decodeStep` and puts `step` in front of the path of whatever error it throws.
template <class Decode>
auto under(std::string_view step, Decode&& decodeStep) {
  try {
    return decodeStep();
  } catch (const JSONError& error) {
    throw error.inside(step);
  }
}

}  // namespace detail

/// Decodes booleans, numbers (an integer must be whole and in range), texts, enumerations with raw texts,
/// arrays, and every type with a `from_json`.
template <class T>
T decode(const Json& json) {
  if constexpr (std::is_same_v<T, bool>) {
    if (!json.is_boolean()) throwWrongType(json, "true or false");
    return json.get<bool>();
  } else if constexpr (std::is_integral_v<T>) {
    return detail::decodeInteger<T>(json);
  } else if constexpr (std::is_floating_point_v<T>) {
    if (!json.is_number()) throwWrongType(json, "a number");
    return json.get<T>();
  } else if constexpr (std::is_same_v<T, std::string>) {
    if (!json.is_string()) throwWrongType(json, "a text");
    return json.get_ref<const std::string&>();
  } else if constexpr (HasRawTexts<T>) {
    if (!json.is_string()) throwWrongType(json, "a text");
    const auto& text = json.get_ref<const std::string&>();
    if (const auto value = fromRawText<T>(text)) return *value;
    throw JSONError(JSONError::Kind::invalidValue,
                    "'" + text.substr(0, 40) + "' is not one of the known values");
  } else if constexpr (detail::isVector<T>) {
    if (!json.is_array()) throwWrongType(json, "an array");
    T result;
    result.reserve(json.size());
    for (const auto& element : json) {
      try {
        result.push_back(decode<typename T::value_type>(element));
      } catch (const JSONError& error) {
        throw error.inside("[" + std::to_string(result.size()) + "]");
      }
    }
    return result;
  } else {
    T result;
    from_json(json, result);
    return result;
  }
}

/// The value under `key`; null counts as a value of the wrong type.
template <class T>
T required(const Json& object, std::string_view key) {
  if (!object.is_object()) throwWrongType(object, "an object");
  const auto found = object.find(key);
  if (found == object.end())
    throw JSONError(JSONError::Kind::missing, "the key is missing", std::string(key));
  return detail::under(key, [&] { return decode<T>(*found); });
}

template <class T>
std::optional<T> optional(const Json& object, std::string_view key) {
  if (!object.is_object()) throwWrongType(object, "an object");
  const auto found = object.find(key);
  if (found == object.end() || found->is_null()) return std::nullopt;
  return detail::under(key, [&] { return std::optional<T>(decode<T>(*found)); });
}

template <class T>
T orDefault(const Json& object, std::string_view key, T fallback) {
  auto value = optional<T>(object, key);
  return value ? std::move(*value) : std::move(fallback);
}

}  // namespace JSON
}  // namespace quillant
