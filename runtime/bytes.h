#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

namespace tarnwick {

/// Bytes while they are put together.
using ByteBuffer = std::vector<std::byte>;

/// Bytes that do not change any more. A copy shares them: a payload goes from file to engine and
/// back through many hands, and may be as large as a file.
class Bytes final {
 public:
  using value_type = std::byte;

  Bytes() = default;
  /// Takes the buffer over.
  Bytes(ByteBuffer buffer);
  Bytes(std::initializer_list<std::byte> bytes) : Bytes(ByteBuffer(bytes)) {}
  explicit Bytes(std::size_t count, std::byte value = {}) : Bytes(ByteBuffer(count, value)) {}
  template <std::input_iterator Iterator>
  Bytes(Iterator first, Iterator last) : Bytes(ByteBuffer(first, last)) {}

  [[nodiscard]] const std::byte* data() const { return shared_ ? shared_->data() : nullptr; }
  [[nodiscard]] std::size_t size() const { return shared_ ? shared_->size() : 0; }
  [[nodiscard]] bool empty() const { return size() == 0; }
  [[nodiscard]] const std::byte* begin() const { return data(); }
  [[nodiscard]] const std::byte* end() const { return data() + size(); }
  [[nodiscard]] std::byte operator[](std::size_t at) const { return (*shared_)[at]; }

  /// The bytes to be changed: copied only if others share them.
  [[nodiscard]] ByteBuffer release() &&;

  friend bool operator==(const Bytes& one, const Bytes& other) {
    return one.shared_ == other.shared_ ||
           std::equal(one.begin(), one.end(), other.begin(), other.end());
  }

 private:
  std::shared_ptr<ByteBuffer> shared_;
};

}  // namespace tarnwick
