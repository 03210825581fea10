#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace inspect {

/// Where the lines of a trace go, in the order in which the fields are read.
class Trace {
 public:
  virtual ~Trace() = default;
  virtual void write(std::string_view text) = 0;

  /// printf-style.
  [[gnu::format(printf, 2, 3)]] void print(const char* format, ...);

 protected:
  Trace() = default;
  Trace(const Trace&) = default;
  Trace& operator=(const Trace&) = default;
};

/// The name of a field: a literal, in which up to two numbers take the places of "{}". It is put together
/// only for a trace or a finding, so that a reader pays nothing for it.
class FieldLabel {
 public:
  template <std::size_t kSize>
  consteval FieldLabel(const char (&text)[kSize]) : pattern_(text, kSize - 1) {}  // NOLINT(*-explicit-*)

  explicit constexpr FieldLabel(std::string_view pattern, std::int64_t first = 0, std::int64_t second = 0)
      : pattern_(pattern), numbers_{first, second} {}

  void append_to(std::string& text) const;
  std::string text() const;

 private:
  std::string_view pattern_;
  std::int64_t numbers_[2] = {};
};

}  // namespace inspect
