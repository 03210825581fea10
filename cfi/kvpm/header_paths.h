#pragma once

#include <array>
#include <span>
#include <string_view>

#include "cfi/kvpm/kvpm_format.h"

namespace VRX::System::CFI {

/// A path that the writer keeps in the header area, with its number: 1 to 5 for the streams of the
/// fast-load partition, 999 for the others.
struct HeaderPath {
  std::string_view path;
  int number = 0;
};

inline constexpr int kLastFastLoadNumber = 5;

/// The header paths of each file format version.
class HeaderPaths {
 public:
  /// The tables of versions 0 to 6.
  static const HeaderPaths& standard();

  /// Raises 1021253 when the version has a table already, or is outside 0 to 6.
  void insert(int version, std::span<const HeaderPath> table);

  /// Raises 1021253 for a version without a table.
  std::span<const HeaderPath> of(int version) const;

  bool contains(int version, std::string_view path) const;

 private:
  std::array<std::span<const HeaderPath>, kCurrentVersion + 1> tables_;
};

}  // namespace VRX::System::CFI
