#include "CaptureEngine/Telemetry/CursorTelemetryCodec.h"

#include <fmt/format.h>
#include <utility>

#include "Core/JSONFields.h"

namespace quillant {

namespace {

constexpr auto sampleFields = [](auto& sample, const auto& field) {
  field("x", sample.x);
  field("y", sample.y);
  field("timestamp", sample.timestamp);
  field("cursorType", sample.cursorType);
};

constexpr auto clickFields = [](auto& click, const auto& field) {
  field("x", click.x);
  field("y", click.y);
  field("timestamp", click.timestamp);
  field("button", click.button);
  field("clickCount", click.clickCount);
};

constexpr auto sizeFields = [](auto& payload, const auto& field) {
  field("width", payload.width);
  field("height", payload.height);
};

void append(std::string& text, std::int64_t number) {
  const fmt::format_int digits(number);
  text.append(digits.data(), digits.size());
}

void append(std::string& text, const std::string& string) {
  text += JSON::compact(string);
}

/// The fields of an object, without its brackets.
template <class Record, class Fields>
void appendFields(std::string& text, const Record& record, const Fields& fields) {
  std::string_view separator = "\"";
  fields(record, [&](std::string_view key, const auto& value) {
    text.append(std::exchange(separator, ",\"")).append(key).append("\":");
    append(text, value);
  });
}

template <class Record, class Fields>
void appendList(std::string& text, std::string_view key, const std::vector<Record>& records,
                const Fields& fields) {
  text.append(",\n\"").append(key).append("\":[");
  std::string_view separator = "\n{";
  for (const auto& record : records) {
    text.append(std::exchange(separator, ",\n{"));
    appendFields(text, record, fields);
    text += '}';
  }
  text += ']';
}

/// One of the document's arrays, whose elements become records as they are read.
template <class Record, class Fields>
struct List {
  std::string_view key;
  Fields fields;
  std::vector<Record> records;
  bool isOpen = false;

  /// Whether the part is to stay in the tree.
  bool take(int depth, Json::parse_event_t event, const Json& part) {
    using Event = Json::parse_event_t;
    if (depth == 1 && event == Event::key) {
      isOpen = part == key;
      if (isOpen) records.clear();  // the last of a repeated key counts
    }
    if (!isOpen || depth != 2 || event == Event::object_start || event == Event::array_start) return true;
    try {
      JSON::readFields(part, records.emplace_back(), fields);
    } catch (const JSONError& error) {
      throw error.inside(fmt::format("[{}]", records.size() - 1)).inside(key);
    }
    return false;
  }

  std::vector<Record> finish(const Json& document) {
    JSON::required<std::vector<int>>(document, key);  // it is there, and an array: an empty one by now
    return std::move(records);
  }
};

}  // namespace

std::string CursorTelemetryCodec::encode(const CursorTelemetryPayload& payload) {
  std::string text = "{";
  appendFields(text, payload, sizeFields);
  appendList(text, "samples", payload.samples, sampleFields);
  appendList(text, "clicks", payload.clicks, clickFields);
  return text + "}\n";
}

CursorTelemetryPayload CursorTelemetryCodec::decode(std::string_view text) {
  List<CursorTelemetrySample, decltype(sampleFields)> samples{"samples", sampleFields};
  List<CursorTelemetryClick, decltype(clickFields)> clicks{"clicks", clickFields};
  const auto keep = [&](int depth, Json::parse_event_t event, const Json& part) {
    if (event == Json::parse_event_t::object_start || event == Json::parse_event_t::array_start) {
      if (std::cmp_equal(depth, JSON::maximumDepth)) throw JSON::tooDeep();
      // No field of a record is a container: what an unknown key holds is never built.
      if (depth > 2 || (depth > 0 && !samples.isOpen && !clicks.isOpen)) return false;
    }
    return samples.take(depth, event, part) && clicks.take(depth, event, part);
  };
  CursorTelemetryPayload payload;
  try {
    const auto document = Json::parse(text, keep);
    JSON::readFields(document, payload, sizeFields);
    payload.samples = samples.finish(document);
    payload.clicks = clicks.finish(document);
  } catch (const Json::parse_error& error) {
    throw JSON::syntaxError(error.byte, error);
  } catch (const Json::out_of_range&) {
    throw JSONError(JSONError::Kind::malformed, "a number is too large");
  }
  return payload;
}

}  // namespace quillant
