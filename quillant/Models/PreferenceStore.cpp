#include "quillant/Models/PreferenceStore.h"

#include <cassert>
#include <system_error>
#include <utility>

#include "Core/AtomicFile.h"
#include "Core/DiskExecutor.h"
#include "Core/JSON.h"
#include "Core/Log.h"

namespace quillant {

namespace {

Preferences read(const std::filesystem::path& file) {
  constexpr std::size_t largest = 1 << 20;
  std::error_code ignored;
  if (!std::filesystem::exists(file, ignored)) return {};
  try {
    return JSON::decode<Preferences>(JSON::parse(AtomicFile::read(file, largest)));
  } catch (const Error& error) {
    Log::write("the preferences cannot be read: {}", error.description());
    return {};
  }
}

void write(const std::filesystem::path& file, const Preferences& preferences) {
  try {
    std::error_code error;
    std::filesystem::create_directories(file.parent_path(), error);
    AtomicFile::write(file, JSON::pretty(preferences));
  } catch (const Error& error) {
    Log::write("the preferences cannot be written: {}", error.description());
  }
}

}  // namespace

PreferenceStore::PreferenceStore(std::filesystem::path file)
    : file_(std::move(file)), writing_(asio::make_strand(diskExecutor())), value_(read(file_)) {}

void PreferenceStore::change(const std::function<void(Preferences&)>& change) {
  assert(sequence_.isCurrent());
  const auto before = value_;
  change(value_);
  if (value_ == before) return;
  asio::post(writing_, [file = file_, value = value_] { write(file, value); });
  changed.emit();
}

Task<> PreferenceStore::written() {
  co_await asio::co_spawn(
      writing_, []() -> Task<> { co_return; }, asio::use_awaitable);
}

}  // namespace quillant
