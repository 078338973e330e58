#include "CaptureEngine/Telemetry/CursorTelemetryCodec.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <utility>

#include "Core/JSON.h"

namespace quillant::CursorTelemetryCodec {

namespace {

/// One key of a record; exactly one of the members is set.
template <class Record>
struct Field {
  std::string_view key;
  std::int64_t Record::*number = nullptr;
  std::string Record::*text = nullptr;
};

// In the order in which they are written.
template <class Record>
constexpr std::nullptr_t fields = nullptr;
template <>
constexpr auto fields<CursorTelemetrySample> = std::to_array<Field<CursorTelemetrySample>>({
    {.key = "x", .number = &CursorTelemetrySample::x},
    {.key = "y", .number = &CursorTelemetrySample::y},
    {.key = "timestamp", .number = &CursorTelemetrySample::timestamp},
    {.key = "cursorType", .text = &CursorTelemetrySample::cursorType},
});
template <>
constexpr auto fields<CursorTelemetryClick> = std::to_array<Field<CursorTelemetryClick>>({
    {.key = "x", .number = &CursorTelemetryClick::x},
    {.key = "y", .number = &CursorTelemetryClick::y},
    {.key = "timestamp", .number = &CursorTelemetryClick::timestamp},
    {.key = "button", .text = &CursorTelemetryClick::button},
    {.key = "clickCount", .number = &CursorTelemetryClick::clickCount},
});
template <>
constexpr auto fields<CursorTelemetryPayload> = std::to_array<Field<CursorTelemetryPayload>>({
    {.key = "width", .number = &CursorTelemetryPayload::width},
    {.key = "height", .number = &CursorTelemetryPayload::height},
});

JSONError missing(std::string_view key) {
  return {JSONError::Kind::missing, "the key is missing", std::string(key)};
}

/// A record whose object is being read.
template <class Record>
class OpenRecord {
 public:
  /// Chooses the field that the next `take` fills; a key that is no field's makes it ignore the value.
  void select(std::string_view key) {
    const auto found = std::ranges::find(fields<Record>, key, &Field<Record>::key);
    selected_ = found == fields<Record>.end() ? nullptr : &*found;
  }

  void take(const Json& value) {
    if (!selected_) return;
    try {
      if (selected_->number)
        record_.*selected_->number = JSON::decode<std::int64_t>(value);
      else
        record_.*selected_->text = JSON::decode<std::string>(value);
    } catch (const JSONError& error) {
      throw error.inside(selected_->key);
    }
    seen_ |= 1U << (selected_ - fields<Record>.data());
  }

  /// The finished record; this one is then as new.
  Record close() {
    for (std::size_t i = 0; i < fields<Record>.size(); ++i)
      if (!(seen_ >> i & 1U)) throw missing(fields<Record>[i].key);
    return std::exchange(*this, {}).record_;
  }

 private:
  Record record_;
  const Field<Record>* selected_ = nullptr;
  unsigned seen_ = 0;
};

/// One of the document's arrays.
class List {
 public:
  explicit List(std::string_view name) : key(name) {}
  virtual ~List() = default;
  virtual void open() = 0;
  virtual void select(std::string_view fieldKey) = 0;
  virtual void take(const Json& value) = 0;
  virtual void closeElement() = 0;
  virtual std::size_t size() const = 0;

  const std::string_view key;
  bool seen = false;
};

template <class Record>
class ListOf final : public List {
 public:
  using List::List;
  void open() override {
    seen = true;
    records.clear();
  }
  void select(std::string_view fieldKey) override { element_.select(fieldKey); }
  void take(const Json& value) override { element_.take(value); }
  void closeElement() override { records.push_back(element_.close()); }
  std::size_t size() const override { return records.size(); }

  std::vector<Record> records;

 private:
  OpenRecord<Record> element_;
};

/// Takes a document's parts as the parser meets them, and steps over what stands under an unknown key. How
/// many containers are open tells the place: the document's object, an array in it, an element of that.
class Reader {
 public:
  CursorTelemetryPayload result;

  bool null() { return value(nullptr); }
  bool boolean(bool flag) { return value(flag); }
  bool number_integer(Json::number_integer_t number) { return value(number); }
  bool number_unsigned(Json::number_unsigned_t number) { return value(number); }
  bool number_float(Json::number_float_t number, const std::string&) { return value(number); }
  bool string(std::string& text) { return value(std::move(text)); }
  bool binary(Json::binary_t&) { return false; }  // no JSON text has one

  bool start_object(std::size_t) {
    if (open_ != outside && open_ != inList) value(Json::object());
    return enter(open_ != outside && open_ != inList);
  }

  bool start_array(std::size_t) {
    const bool opensList = !skippedFrom_ && open_ == inDocument && list_;
    if (opensList)
      list_->open();
    else
      value(Json::array());
    return enter(!opensList);
  }

  bool key(const std::string& text) {
    if (skippedFrom_) return true;
    if (open_ == inElement) {
      list_->select(text);
      return true;
    }
    const auto found = std::ranges::find(lists_, text, &List::key);
    list_ = found == lists_.end() ? nullptr : *found;
    document_.select(text);
    return true;
  }

  bool end_object() {
    if (!skippedFrom_ && open_ == inElement) inPlace([this] { list_->closeElement(); });
    if (!skippedFrom_ && open_ == inDocument) finish();
    return leave();
  }

  bool end_array() { return leave(); }

  bool parse_error(std::size_t position, const std::string&, const Json::exception& error) {
    throw JSON::syntaxError(position, error);
  }

 private:
  enum Open : std::size_t { outside, inDocument, inList, inElement };

  bool value(const Json& value) {
    if (skippedFrom_) return true;
    inPlace([&] {
      if (open_ == inElement)
        list_->take(value);
      else if (open_ != inDocument)
        JSON::throwWrongType(value, "an object");
      else if (list_)
        JSON::throwWrongType(value, "an array");
      else
        document_.take(value);
    });
    return true;
  }

  /// Runs `step` and completes the path of the error that it throws.
  template <class Step>
  void inPlace(Step&& step) {
    try {
      step();
    } catch (const JSONError& error) {
      if (!list_) throw;
      if (open_ == inDocument) throw error.inside(list_->key);
      throw error.inside(fmt::format("[{}]", list_->size())).inside(list_->key);
    }
  }

  bool enter(bool skip) {
    if (++open_ > JSON::maximumDepth) throw JSON::tooDeep();
    if (skip && !skippedFrom_) skippedFrom_ = open_;
    return true;
  }

  bool leave() {
    if (skippedFrom_ == open_) skippedFrom_ = 0;
    --open_;
    return true;
  }

  void finish() {
    for (const List* list : lists_)
      if (!list->seen) throw missing(list->key);
    result = document_.close();
    result.samples = std::move(samples_.records);
    result.clicks = std::move(clicks_.records);
  }

  OpenRecord<CursorTelemetryPayload> document_;
  ListOf<CursorTelemetrySample> samples_{"samples"};
  ListOf<CursorTelemetryClick> clicks_{"clicks"};
  std::array<List*, 2> lists_{&samples_, &clicks_};
  List* list_ = nullptr;         // the one whose key came last in the document
  std::size_t open_ = outside;   // how many containers are
  std::size_t skippedFrom_ = 0;  // the container, counted likewise, under an unknown key; 0 if none is open
};

void append(std::string& text, std::int64_t number) {
  const fmt::format_int digits(number);
  text.append(digits.data(), digits.size());
}

void append(std::string& text, const std::string& string) {
  const bool plain =
      std::ranges::all_of(string, [](char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; });
  if (plain)
    text.append(1, '"').append(string).append(1, '"');
  else
    text += JSON::compact(string);
}

template <class Record>
void appendFields(std::string& text, const Record& record) {
  std::string_view separator = "\"";
  for (const auto& field : fields<Record>) {
    text.append(std::exchange(separator, ",\"")).append(field.key).append("\":");
    if (field.number)
      append(text, record.*field.number);
    else
      append(text, record.*field.text);
  }
}

template <class Record>
void appendList(std::string& text, std::string_view opening, const std::vector<Record>& records) {
  text.append(opening).append(1, '[');
  std::string_view separator = "\n{";
  for (const Record& record : records) {
    text.append(std::exchange(separator, ",\n{"));
    appendFields(text, record);
    text.append(1, '}');
  }
  text.append(1, ']');
}

}  // namespace

std::string encode(const CursorTelemetryPayload& payload) {
  constexpr std::size_t usualLine = 64;
  std::string text;
  text.reserve((payload.samples.size() + payload.clicks.size() + 2) * usualLine);
  text += '{';
  appendFields(text, payload);
  appendList(text, ",\n\"samples\":", payload.samples);
  appendList(text, ",\n\"clicks\":", payload.clicks);
  text += "}\n";
  return text;
}

CursorTelemetryPayload decode(std::string_view text) {
  Reader reader;
  Json::sax_parse(text.begin(), text.end(), &reader);
  return std::move(reader.result);
}

}  // namespace quillant::CursorTelemetryCodec
