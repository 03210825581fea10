#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vault {

/// What tells without opening a file whether it is the one that was examined. It means something on one host
/// only.
struct FileIdentity {
  std::int64_t device = 0;
  std::int64_t inode = 0;
  std::int64_t size = 0;         ///< bytes
  std::int64_t modified_ns = 0;  ///< since 1970

  bool operator==(const FileIdentity&) const = default;
};

/// Of the regular file that the name leads to; none when it leads to none.
std::optional<FileIdentity> identity_of(const std::string& name);

/// True when there is certainly no file of that name: what cannot be looked at may be there.
bool is_gone(const std::string& name);

}  // namespace vault
