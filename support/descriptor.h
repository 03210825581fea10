#pragma once

#include <unistd.h>

#include <utility>

namespace support {

/// Owns an open file descriptor; -1 stands for none.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() { close(); }

  int number() const { return number_; }
  bool is_open() const { return number_ >= 0; }

  /// Gives the descriptor away.
  int release() { return std::exchange(number_, -1); }

  /// False when the system reports late that a write failed.
  bool close() { return !is_open() || ::close(std::exchange(number_, -1)) == 0; }

 private:
  int number_ = -1;
};

}  // namespace support
