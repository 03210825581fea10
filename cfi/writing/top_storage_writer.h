#pragma once

#include <algorithm>
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

#include "cfi/kvpm/top_storage.h"
#include "cfi/thread_check.h"
#include "cfi/writing/container.h"
#include "cfi/writing/index_writer.h"
#include "cfi/writing/replacement_file.h"
#include "support/part_signature.h"

namespace VRX::System::CFI {

/// Bytes of the longest header that a part stream begins with, its count word included.
inline constexpr std::size_t kLongestPartHeader =
    2 * (1 + std::size_t{*std::ranges::max_element(support::kPartHeaderCounts)});

struct WriterOptions {
  int version = kCurrentVersion;
  /// Bytes from the start of the file that are kept free for fixed header and header index; more when the
  /// header index needs more before the first stream has its place.
  std::uint64_t maximum_header_size = 4096;
  /// Without a footer all elements go into the header index, and the start footer offset is -1.
  bool has_footer = true;
  /// The bytes are on disk before the file gets its name.
  bool flushes_to_disk = true;
};

/// The writer of the maker's format. Elements are collected with their bytes, those of the fast-load streams
/// directly in the file, and `commit` lays out the rest. Nothing is seen under the file's name before.
/// Elements are known by their number in the order of creation; "/Root" is 0.
class TopStorageWriter {
 public:
  using Number = std::uint32_t;

  /// Replace mode: starts a new file with "/Root" in it.
  explicit TopStorageWriter(std::string file_name, const WriterOptions& options = {});

  /// Update mode: starts from the elements and the version of `old`, which must outlive this object and whose
  /// bytes are copied by `commit`. Raises 1020023 when it is truncated.
  TopStorageWriter(std::string file_name, TopStorage& old);

  int version() const { return options_.version; }

  /// The part file header for the header index, in 16-bit units; at most 4096 of them (1021265). Without this
  /// call the header index gets what the part stream begins with, as soon as that has been written.
  void set_part_header(std::span<const std::byte> bytes);
  std::span<const std::byte> part_header() const { return part_header_; }

  /// These raise 1021253 for an ill-formed path or a parent that is no storage, 1021252 when the element
  /// exists already and 1021251 when the storage that it would lie in does not. They raise 1021253 for a
  /// second direct stream, too, and when the header index would outgrow its area, whose size is fixed by the
  /// first direct stream. What raises leaves no element behind.
  Number create_storage(std::string_view path, const ClassId& class_id);
  Number create_stream(std::string_view path);

  std::optional<Number> find(std::string_view path) const;
  const ListedElement& element(Number number) const { return elements_[number].listed; }
  IndexArea area(Number number) const { return elements_[number].area; }

  /// The bytes that a stream has so far; 0 for a storage.
  std::uint64_t size(Number number) const;

  /// Where the fast-load streams end, as far as they have their place.
  std::uint64_t fast_load_end() const;

  std::vector<Number> children(Number storage) const;
  void set_class(Number storage, const ClassId& class_id) { elements_[storage].listed.class_id = class_id; }

  std::size_t element_count() const { return elements_.size(); }

  /// Takes back the elements that were created last, until `count` are left.
  void drop_from(std::size_t count);

  /// Puts an element into another index than the header paths of the version say.
  void set_area(Number number, IndexArea area);

  /// The bytes of a stream that was created or opened for write, valid until the commit.
  Container& container(Number stream) const { return *elements_[stream].container; }

  /// Takes up the writing of a stream from the old file, or of one that was released. Raises 1021253 when it
  /// is being written already or no stream, and 1021254 for a released direct stream.
  Container& open_for_write(Number stream);

  /// The bytes that a stream has in the old file. Raises 1021254 when it was released after writing but not
  /// committed, 1021253 when it is being written.
  std::unique_ptr<support::ByteSource> open_for_read(Number stream) const;

  /// Ends the writing of a stream; only then can another direct stream begin.
  void release(Number stream);

  /// A write has failed: the file must not be committed.
  void mark_failed() { has_failed_ = true; }

  /// Completes the file and gives it its name. Raises 1021253 when the header index does not fit, or a write
  /// has failed before.
  void commit();

 private:
  struct Element {
    ListedElement listed;
    Number parent = 0;
    IndexArea area = IndexArea::footer;
    int header_number = 0;
    std::unique_ptr<Container> container;  // null: a storage, or the bytes are in the old file
    bool is_direct = false;
    bool is_released = false;

    bool is_stream() const { return listed.type == ElementType::stream; }
    bool is_fast_load() const;
  };

  Number add(std::string_view path, ElementType type);
  Number add_from_old(const StorageIndex& index, std::uint32_t entry);
  Number storage_from_old(std::string_view path);
  void drop_last();
  void require_room_in_header() const;
  std::uint64_t header_size() const;
  void choose_data_start();
  [[noreturn]] void raise_current_direct() const;
  void begin_direct(Number number);
  void end_direct(Number number);
  std::string old_bytes(Number stream) const;
  void copy_part_header();
  void flush(Element& element);
  void copy_from_old(const Element& element);
  void write(std::uint64_t offset, std::string_view bytes);
  void flush_all();
  void check_contiguous() const;
  std::string listed_in(IndexArea area) const;
  void write_header(std::int64_t footer_offset);

  WriterOptions options_;
  ReplacementFile file_;
  TopStorage* old_ = nullptr;
  std::vector<std::byte> part_header_;
  bool part_header_is_given_ = false;
  std::deque<Element> elements_;
  std::map<std::string_view, Number, std::less<>> by_path_;
  std::optional<Number> current_direct_;
  std::optional<std::uint64_t> data_start_;
  std::uint64_t data_end_ = 0;
  bool has_failed_ = false;
  ThreadCheck thread_check_;
};

}  // namespace VRX::System::CFI
