#include "Tests/Support/Allocations/Allocations.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr int unlimited = std::numeric_limits<int>::max();

std::atomic<std::size_t> allocations = 0;
thread_local int allowedHere = unlimited;

void* allocate(std::size_t size) {
  ++allocations;
  if (allowedHere == 0) return nullptr;
  if (allowedHere != unlimited) --allowedHere;
  return std::malloc(size);
}

}  // namespace

namespace quillant::Allocations {

std::size_t count() {
  return allocations;
}

Shortage::Shortage(int allowed) {
  allowedHere = allowed;
}

Shortage::~Shortage() {
  allowedHere = unlimited;
}

}  // namespace quillant::Allocations

void* operator new(std::size_t size) {
  if (void* memory = allocate(size)) return memory;
  throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size);
}

void* operator new(std::size_t size, std::align_val_t alignment) {
  ++allocations;
  const auto step = static_cast<std::size_t>(alignment);
  if (void* memory = std::aligned_alloc(step, (size + step - 1) / step * step)) return memory;
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::align_val_t) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
  std::free(memory);
}
