#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cfi/kvpm/kvpm_format.h"
#include "cfi/storage_file.h"
#include "cfi/writing/top_storage_writer.h"

namespace test_support {

/// Composes a file in the maker's format with the container's own writer, then damages it as asked.
///
///   ContainerBuilder builder;
///   builder.stream("/Root/VR_PART/VR_PART", part_bytes).stream("/Root/JT", jt_bytes);
///   const std::string bytes = builder.bytes();       // or builder.write(file_name)
///
/// Storages on the way to a stream are added with a zero class identifier.
class ContainerBuilder {
 public:
  using Area = VRX::System::CFI::IndexArea;

  explicit ContainerBuilder(int version = VRX::System::CFI::kCurrentVersion) {
    options_.version = version;
    options_.flushes_to_disk = false;
  }

  ContainerBuilder& storage(std::string_view path, const VRX::System::CFI::ClassId& class_id = {});
  ContainerBuilder& stream(std::string_view path, std::string_view bytes);

  /// Lists an element in that index instead of the one that its path calls for.
  ContainerBuilder& area(std::string_view path, Area area);

  /// Bytes of the part file header copy (16-bit units).
  ContainerBuilder& part_header(std::string_view bytes);

  /// Everything in the header index, start footer offset -1.
  ContainerBuilder& no_footer();
  ContainerBuilder& header_area(std::uint64_t size);

  /// The file, whole and sound.
  std::string bytes() const;
  void write(const std::string& file_name) const;

 private:
  struct Item {
    std::string path;
    VRX::System::CFI::ElementType type;
    VRX::System::CFI::ClassId class_id;
    std::string bytes;
    std::optional<Area> area;
  };
  Item& item(std::string_view path, VRX::System::CFI::ElementType type);
  Item* find(std::string_view path);

  VRX::System::CFI::WriterOptions options_;
  std::vector<Item> items_;
  std::string part_header_;
};

/// Damage to the bytes of a container made by ContainerBuilder. A change inside an index leaves its
/// checksum alone until `fix_checksums`.
class ContainerDamage {
 public:
  using Area = VRX::System::CFI::IndexArea;

  explicit ContainerDamage(std::string bytes) : bytes_(std::move(bytes)) {}

  /// Where an index begins and where its bytes end, checksum included.
  std::size_t index_start(Area area) const;
  std::size_t index_end(Area area) const;

  ContainerDamage& flip(std::size_t offset, unsigned bit = 0);
  ContainerDamage& cut(std::size_t size);
  ContainerDamage& put(std::size_t offset, std::string_view bytes);
  ContainerDamage& wrong_signature(Area area) { return flip(index_start(area)); }
  ContainerDamage& wrong_checksum(Area area) { return flip(index_end(area) - 1); }
  ContainerDamage& entry_count(Area area, std::int32_t count);
  ContainerDamage& path_length(std::string_view path, std::int32_t length);
  ContainerDamage& stream_place(std::string_view path, std::int64_t offset, std::int64_t size);
  ContainerDamage& part_header_length(std::int16_t length);
  ContainerDamage& footer_offset(std::int64_t offset);
  ContainerDamage& fast_load_end(std::int64_t offset);

  /// Makes both index checksums right again.
  ContainerDamage& fix_checksums();

  const std::string& bytes() const { return bytes_; }

 private:
  int version() const { return static_cast<unsigned char>(bytes_[8]); }
  std::size_t count_offset(Area area) const;
  std::size_t entries_end(Area area) const;
  std::size_t entry_offset(std::string_view path) const;

  std::string bytes_;
  // As the builder made it, so that places are found whatever has been damaged since.
  const std::string sound_ = bytes_;
};

}  // namespace test_support
