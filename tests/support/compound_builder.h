#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace test_support {

/// Composes Microsoft compound files. Elements are directory entries, numbered as they were added; the
/// root is 0. compose() lays the file out; afterwards the places of its parts are known, and put() damages.
class CompoundBuilder {
 public:
  enum class Siblings { balanced, list_to_the_left, list_to_the_right, list_as_added };

  explicit CompoundBuilder(std::uint32_t sector_size = 512);

  std::uint32_t add_storage(std::uint32_t parent, std::u16string name);
  std::uint32_t add_stream(std::uint32_t parent, std::u16string name, std::string content);

  void set_siblings(Siblings siblings) { siblings_ = siblings; }
  void set_class_id(std::uint32_t element, const std::array<unsigned char, 16>& id) {
    elements_[element].class_id = id;
  }

  /// Lays the sectors of each chain out from its last to its first, so that no two are neighbours.
  void set_fragmented(bool fragmented) { fragmented_ = fragmented; }

  void compose();
  const std::string& bytes() const { return bytes_; }

  std::size_t entry_offset(std::uint32_t element) const;
  std::size_t fat_entry_offset(std::uint32_t sector) const;
  std::size_t mini_fat_entry_offset(std::uint32_t mini_sector) const;
  std::size_t sector_offset(std::uint32_t sector) const { return (sector + std::size_t{1}) * sector_size_; }
  const std::vector<std::uint32_t>& sectors(std::uint32_t element) const {
    return elements_[element].sectors;
  }
  const std::vector<std::uint32_t>& fat_sectors() const { return fat_sectors_; }
  const std::vector<std::uint32_t>& difat_sectors() const { return difat_sectors_; }

  /// Makes the last sector of a stream (of the root: of the mini stream) the last of the file.
  void move_last_sector_to_end(std::uint32_t element);

  /// Overwrites `width` bytes with a little-endian value.
  void put(std::size_t offset, unsigned width, std::uint64_t value);

 private:
  struct Element {
    std::u16string name = {};
    unsigned char type = 0;
    std::string content = {};
    std::array<unsigned char, 16> class_id = {};
    std::vector<std::uint32_t> children = {};
    std::vector<std::uint32_t> sectors = {};  ///< mini sectors for a short stream
    std::uint32_t left = 0xFFFFFFFF;
    std::uint32_t right = 0xFFFFFFFF;
    std::uint32_t child = 0xFFFFFFFF;
  };

  std::uint32_t add(std::uint32_t parent, Element element);
  std::uint32_t link_siblings(const std::vector<std::uint32_t>& children);
  std::uint32_t link_balanced(const std::vector<std::uint32_t>& children, std::size_t first,
                              std::size_t last);
  std::vector<std::uint32_t> store(std::string_view content);
  void store_mini_streams();
  void store_tables();
  std::string directory_bytes() const;
  void write_header();

  std::uint32_t sector_size_;
  Siblings siblings_ = Siblings::balanced;
  bool fragmented_ = false;
  std::vector<Element> elements_;
  std::string bytes_;
  std::vector<std::uint32_t> fat_;
  std::vector<std::uint32_t> fat_sectors_;
  std::vector<std::uint32_t> difat_sectors_;
  std::vector<std::uint32_t> directory_sectors_;
  std::vector<std::uint32_t> mini_fat_sectors_;
};

}  // namespace test_support
