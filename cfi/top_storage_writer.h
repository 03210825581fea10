#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cfi/container.h"
#include "cfi/index_writer.h"
#include "cfi/replacement_file.h"

namespace VRX::System::CFI {

struct WriterOptions {
  int version = kCurrentVersion;
  /// Bytes from the start of the file that are kept free for fixed header and header index.
  std::uint64_t maximum_header_size = 4096;
  /// Without a footer all elements go into the header index, and the start footer offset is -1.
  bool has_footer = true;
};

/// The writer of the maker's format. Elements are collected with their bytes, those of the fast-load streams
/// directly in the file, and `commit` lays out the rest. Nothing is seen under the file's name before.
class TopStorageWriter {
 public:
  /// Starts a new file with "/Root" in it.
  explicit TopStorageWriter(std::string file_name, const WriterOptions& options = {});

  /// The part file header for the header index, in 16-bit units; at most 4096 of them.
  void set_part_header(std::span<const std::byte> bytes);

  /// All of these raise 1021253 for an ill-formed path, 1021252 when the element exists already and 1021251
  /// when the storage that it would lie in does not.
  void create_storage(std::string_view path, const ClassId& class_id);
  void create_stream(std::string_view path);
  void set_class(std::string_view storage, const ClassId& class_id);

  bool exists(std::string_view path) const { return by_path_.contains(path); }

  /// The bytes of a stream, to be written until it is released.
  Container& container(std::string_view stream);

  /// Ends the writing of a stream; only then can another direct stream begin.
  void release(std::string_view stream);

  /// Puts an element into another index than the header paths of the version say.
  void set_area(std::string_view path, IndexArea area);

  /// Completes the file and gives it its name. Raises 1021253 when the header index does not fit.
  void commit();

 private:
  struct Element {
    ListedElement listed;
    IndexArea area = IndexArea::footer;
    int header_number = 0;
    std::unique_ptr<Container> container;
    bool is_direct = false;
    bool is_released = false;
  };

  Element& add(std::string_view path, ElementType type);
  Element& element(std::string_view path);
  void begin_direct(Element& element);
  void end_direct(const Element& element);
  void flush(Element& element);
  void flush_all();
  std::uint64_t fast_load_end() const;
  std::string listed_in(IndexArea area) const;
  void write_header(std::int64_t footer_offset);

  WriterOptions options_;
  ReplacementFile file_;
  std::vector<std::byte> part_header_;
  std::deque<Element> elements_;  // as created
  std::map<std::string_view, Element*, std::less<>> by_path_;
  Element* current_direct_ = nullptr;
  std::uint64_t data_end_;
};

}  // namespace VRX::System::CFI
