#pragma once

#include <optional>
#include <vector>

namespace quillant {

/// The records after `change` has seen each of them; none when they are what they were.
template <class Record, class Change>
std::optional<std::vector<Record>> changedRecords(const std::vector<Record>& records, Change change) {
  auto result = records;
  for (auto& record : result) change(record);
  if (result == records) return std::nullopt;
  return result;
}

}  // namespace quillant
