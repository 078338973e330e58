#include "Editor/Project/ProjectRevision.h"

#include "Core/JSON.h"

namespace quillant {

namespace {

/// FNV-1a: fast, the same everywhere, and wide enough for what nobody forges.
std::uint64_t hash(std::string_view text) {
  std::uint64_t result = 0xCBF29CE484222325;
  for (const char c : text) result = (result ^ static_cast<unsigned char>(c)) * 0x100000001B3;
  return result;
}

}  // namespace

ProjectRevision ProjectRevision::of(const Json& document) {
  const auto state = document.find("editorState");
  return {.document = hash(JSON::compact(document)),
          .editorState = state == document.end() ? 0 : hash(JSON::compact(*state))};
}

}  // namespace quillant
