#pragma once

#include <atomic>
#include <cstddef>
#include <initializer_list>
#include <utility>
#include <vector>

namespace quillant {

/// A container that its copies share until one of them writes: a copy costs one reference, whatever it holds.
/// Reads like a const container; a writer asks for `mutate()`, which first gives it a container of its own.
///
/// Copies are values apart and may be used on different threads. A reference from `mutate()` ends with the
/// next copy that is taken of this value: writing through it later would write into the copy too.
template <class Container>
class CopyOnWrite {
 public:
  using value_type = typename Container::value_type;
  using const_iterator = typename Container::const_iterator;

  CopyOnWrite() = default;
  CopyOnWrite(Container container)
      : shared_(container.empty() ? nullptr : new Shared{.container = std::move(container)}) {}
  CopyOnWrite(std::initializer_list<value_type> values) : CopyOnWrite(Container(values)) {}
  CopyOnWrite(const CopyOnWrite& other) noexcept : shared_(other.shared_) {
    if (shared_) shared_->references.fetch_add(1, std::memory_order_relaxed);
  }
  CopyOnWrite(CopyOnWrite&& other) noexcept : shared_(std::exchange(other.shared_, nullptr)) {}
  CopyOnWrite& operator=(CopyOnWrite other) noexcept {
    std::swap(shared_, other.shared_);
    return *this;
  }
  ~CopyOnWrite() {
    if (shared_ && shared_->references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete shared_;
  }

  const Container& operator*() const { return shared_ ? shared_->container : none(); }
  const Container* operator->() const { return &**this; }
  operator const Container&() const { return **this; }

  const_iterator begin() const { return (**this).begin(); }
  const_iterator end() const { return (**this).end(); }
  std::size_t size() const { return (**this).size(); }
  bool empty() const { return (**this).empty(); }
  const value_type& front() const { return (**this).front(); }
  const value_type& back() const { return (**this).back(); }
  const value_type& operator[](std::size_t index) const { return (**this)[index]; }

  /// The container to write to, which no copy shares any more.
  Container& mutate() {
    // Acquire: who gave up the last other reference has finished reading.
    if (!shared_ || shared_->references.load(std::memory_order_acquire) != 1)
      *this = CopyOnWrite(new Shared{.container = **this});
    return shared_->container;
  }

  /// Whether both are one storage, so that nothing has to be compared.
  bool sharesStorage(const CopyOnWrite& other) const { return shared_ == other.shared_; }

  friend bool operator==(const CopyOnWrite& left, const CopyOnWrite& right) {
    return left.sharesStorage(right) || *left == *right;
  }

 private:
  struct Shared {
    std::atomic<std::size_t> references = 1;
    Container container;
  };

  explicit CopyOnWrite(Shared* shared) : shared_(shared) {}
  static const Container& none() {
    static const Container empty;
    return empty;
  }

  Shared* shared_ = nullptr;  // null: empty
};

template <class Element>
using CopyOnWriteVector = CopyOnWrite<std::vector<Element>>;

}  // namespace quillant
