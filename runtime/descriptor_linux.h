#pragma once

#include <unistd.h>

#include <utility>

namespace tarnwick {

/// Owns an open file, pipe or device.
class Descriptor final {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() { close(); }
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  explicit operator bool() const { return number_ >= 0; }
  [[nodiscard]] int get() const { return number_; }
  void close() {
    if (number_ >= 0) ::close(std::exchange(number_, -1));
  }

 private:
  int number_ = -1;
};

}  // namespace tarnwick
