#pragma once

#include <optional>
#include <utility>

#include "Core/ChunkedVector.h"
#include "Core/JSON.h"

/// One list of a record's fields, which reading and writing both go by:
///
///     constexpr auto fields = [](auto& clip, const auto& field) {
///       field("start", clip.start);                 // required
///       field("source", clip.source);               // a std::optional: absent while unset
///       field.orDefault("speed", clip.speed);       // missing or null: the member's initial value
///       field.orMade("id", clip.id, UUID::random);  // missing or null: a value made for it
///     };
///     void to_json(Json& json, const Clip& clip) { JSON::writeFields(json, clip, fields); }
///     void from_json(const Json& json, Clip& clip) { JSON::readFields(json, clip, fields); }
namespace quillant::JSON {

class FieldWriter {
 public:
  explicit FieldWriter(Json& json) : json_(json) {}

  template <class T>
  void operator()(const char* key, const T& value) const {
    if constexpr (HasRawTexts<T>)
      json_[key] = rawText(value);
    else
      json_[key] = value;
  }
  template <class T>
  void operator()(const char* key, const std::optional<T>& value) const {
    if (value) (*this)(key, *value);
  }
  template <class T>
  void operator()(const char* key, const ChunkedVector<T>& values) const {
    json_[key] = Json::array_t(values.begin(), values.end());
  }
  template <class T>
  void orDefault(const char* key, const T& value) const {
    (*this)(key, value);
  }
  template <class T, class Make>
  void orMade(const char* key, const T& value, Make&&) const {
    (*this)(key, value);
  }

 private:
  Json& json_;
};

class FieldReader {
 public:
  explicit FieldReader(const Json& json) : json_(json) {}

  template <class T>
  void operator()(const char* key, T& value) const {
    value = required<T>(json_, key);
  }
  template <class T>
  void operator()(const char* key, std::optional<T>& value) const {
    value = optional<T>(json_, key);
  }
  template <class T>
  void operator()(const char* key, ChunkedVector<T>& values) const {
    values = required<std::vector<T>>(json_, key);
  }
  template <class T>
  void orDefault(const char* key, T& value) const {
    if (auto read = optional<T>(json_, key)) value = std::move(*read);
  }
  template <class T, class Make>
  void orMade(const char* key, T& value, Make&& make) const {
    auto read = optional<T>(json_, key);
    value = read ? std::move(*read) : make();
  }

 private:
  const Json& json_;
};

template <class Record, class Fields>
void writeFields(Json& json, const Record& record, const Fields& fields) {
  json = Json::object();
  fields(record, FieldWriter(json));
}

/// Leaves `record` as it was if anything does not read.
template <class Record, class Fields>
void readFields(const Json& json, Record& record, const Fields& fields) {
  Record read;
  fields(read, FieldReader(json));
  record = std::move(read);
}

}  // namespace quillant::JSON
