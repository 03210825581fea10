#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace fuzz {

/// One way into the program for hostile bytes. Whatever the bytes are, `run` returns; what it prints is of no
/// interest. The folder that is the current one may be written to.
struct Target {
  std::string_view name;
  void (*run)(std::string_view input);

  /// Makes a changed input again one that gets behind signatures and checksums; null when there are none.
  void (*repair)(std::span<unsigned char> input);
};

/// All targets. Those that can look in several ways take the first byte of the input for a selector.
std::span<const Target> targets();

/// Null when there is none of that name.
const Target* find_target(std::string_view name);

void run_kvpm_container(std::string_view input);
void run_compound_file(std::string_view input);
void run_lz4_stream(std::string_view input);
void run_toggle_stream(std::string_view input);
void run_jt_stream(std::string_view input);
void run_part_index(std::string_view input);
void run_object_manager(std::string_view input);
void run_brepsolid(std::string_view input);

/// Holds the fast decoder against zlib: whatever the first takes for sound has to be so for the other, with
/// the same bytes.
void run_inflate(std::string_view input);
void run_driver(std::string_view input);

/// A whole file: its document is JSON, and has one owner for each byte.
void run_document(std::string_view input);

/// Signatures, counts that fit what follows, and checksums of both indexes of the maker's format.
void repair_kvpm_container(std::span<unsigned char> file);

/// The fields of the header that have one legal value.
void repair_compound_file(std::span<unsigned char> file);

/// The repair of the kind of file that it still resembles.
void repair_file(std::span<unsigned char> file);

/// The same behind the selector.
void repair_driver(std::span<unsigned char> input);

}  // namespace fuzz
