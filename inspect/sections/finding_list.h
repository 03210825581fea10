#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "inspect/sections/byte_map.h"
#include "support/findings.h"

namespace inspect {

/// What a file is called after all that was found in it.
enum class FileVerdict : std::uint8_t {
  sound,
  suspect,     ///< something is odd that no checksum decides
  damaged,     ///< a checksum fails, or a record cannot be read
  unreadable,  ///< the file could not be examined
  not_a_part,
};

/// "sound", "suspect", ...
std::string_view verdict_name(FileVerdict verdict);

/// A finding with what explains it.
struct ListedFinding {
  support::Finding finding;
  std::optional<support::Rule> caused_by;
};

/// All findings of one file. What is found twice, because two readers come by, is kept once; of very many the
/// first are kept and all are counted.
class FindingList final : public support::FindingSink {
 public:
  void report(const support::Finding& finding) override;

  const std::vector<ListedFinding>& rows() const { return rows_; }

  /// How many of a severity there are, kept or not.
  std::uint64_t count(support::Severity severity) const {
    return counts_[static_cast<std::size_t>(severity)];
  }
  std::uint64_t left_out() const { return left_out_; }

  /// Puts causes in front of what follows from them: damage that is known by its place explains what was
  /// found in the same bytes or the same partition. Says of each what it touches. `map` is settled; `path_of`
  /// names its streams, the part stream is `part_stream`.
  void explain(const ByteMap& map, std::string_view part_stream,
               const std::function<std::string(std::uint64_t)>& path_of);

  /// sound, suspect or damaged.
  FileVerdict verdict() const;

 private:
  std::vector<ListedFinding> rows_;
  std::array<std::uint64_t, 3> counts_ = {};
  std::uint64_t left_out_ = 0;
};

}  // namespace inspect
