#include "quillant/Models/Preferences.h"

#include "Core/JSONFields.h"
#include "Core/Log.h"

namespace quillant {

namespace {

constexpr auto fields = [](auto& preferences, const auto& field) {
  field.orDefault("com.quillant.hasCompletedOnboarding", preferences.hasCompletedOnboarding);
  field("com.quillant.pref.saveLocation", preferences.saveLocation);
  field("com.quillant.pref.defaultMicID", preferences.defaultMicID);
  field("com.quillant.pref.shortcut", preferences.shortcut);
  field.orDefault("com.quillant.pref.countdown", preferences.countdown);
  field.orDefault("com.quillant.pref.frameRate", preferences.frameRate);
  field.orDefault("com.quillant.pref.resolution", preferences.resolution);
};

/// Reads each field by itself.
class TolerantReader {
 public:
  explicit TolerantReader(const Json& json) : reader_(json) {}

  template <class T>
  void operator()(const char* key, std::optional<T>& value) const {
    tolerate([&] { reader_(key, value); });
  }
  template <class T>
  void orDefault(const char* key, T& value) const {
    tolerate([&] { reader_.orDefault(key, value); });
  }

 private:
  template <class Read>
  static void tolerate(const Read& read) {
    try {
      read();
    } catch (const JSONError& error) {
      Log::write("a preference is left out: {}", error.description());
    }
  }

  JSON::FieldReader reader_;
};

}  // namespace

void to_json(Json& json, const Preferences& preferences) {
  JSON::writeFields(json, preferences, fields);
}

void from_json(const Json& json, Preferences& preferences) {
  preferences = {};
  fields(preferences, TolerantReader(json));
}

}  // namespace quillant
