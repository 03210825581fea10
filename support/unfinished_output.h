#pragma once

#include <csignal>
#include <cstddef>
#include <utility>

namespace support {

/// Keeps signals waiting while it lives, so that none comes between two steps that belong together.
class SignalsHeld {
 public:
  SignalsHeld();
  ~SignalsHeld();
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;

 private:
  sigset_t before_ = {};
};

/// A regular file that is being written: until this object ends, a signal that ends the program removes it,
/// so that no half of it can be taken for the whole. Signals are held from before the file is created until
/// this object knows it.
class UnfinishedOutput {
 public:
  /// As many as this are known at a time; what is beyond that stays behind.
  static constexpr std::size_t kMost = 8;

  UnfinishedOutput() = default;

  /// Knows nothing when `descriptor` is no regular file, or that of a standard stream: these are not removed.
  UnfinishedOutput(const char* name, int descriptor);

  UnfinishedOutput(UnfinishedOutput&& other) noexcept : entry_(std::exchange(other.entry_, kNone)) {}
  UnfinishedOutput& operator=(UnfinishedOutput&& other) noexcept {
    std::swap(entry_, other.entry_);
    return *this;
  }
  ~UnfinishedOutput();

 private:
  static constexpr std::size_t kNone = kMost;
  std::size_t entry_ = kNone;
};

/// For the signal handler, and safe to call there.
void remove_unfinished_outputs() noexcept;

}  // namespace support
