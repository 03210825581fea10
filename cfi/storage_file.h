#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cfi/container_facts.h"
#include "cfi/container_layout.h"
#include "cfi/element.h"
#include "cfi/file_channel.h"
#include "support/byte_source.h"
#include "support/part_signature.h"

namespace VRX::System::CFI {

/// What the first 8 bytes of a file say.
enum class FileKind { flat, kvpm, microsoft };

using support::kKvpmSignature;
using support::kMicrosoftSignature;
using support::kSignatureSize;

FileKind recognise(FileChannel& channel);

/// An open container of either format: a tree of storages with streams as leaves, and the one door to it.
/// All operations raise ErrorEscape with a container number when the file is damaged or cannot be read.
class StorageFile {
 public:
  StorageFile() = default;
  StorageFile(const StorageFile&) = delete;
  StorageFile& operator=(const StorageFile&) = delete;
  virtual ~StorageFile() = default;

  virtual FileKind kind() const = 0;

  /// The number of the file format, 0 to 6 in the maker's format; 0 where the format has no numbers.
  virtual int format_number() const { return 0; }

  /// The part file header that the container keeps beside the part stream: its bytes as stored, in 16-bit
  /// units; empty where there is none.
  virtual std::span<const std::byte> part_header() const { return {}; }

  /// One 16-bit unit of it; nothing when it is shorter.
  std::optional<std::uint16_t> part_header_unit(std::size_t number) const;

  /// The file offset at which the fast-load partition ends; 0 when there is none.
  virtual std::int64_t fast_load_end() const { return 0; }

  /// Loads all that the file lists. Whoever calls it hears, each time, what is damaged; what is never asked
  /// for is never read.
  virtual void load_all() {}

  /// The child of that name, without opening it.
  virtual std::optional<ElementId> find_child(ElementId storage, std::string_view name) = 0;

  virtual ElementNode node(ElementId element) = 0;

  /// Of a storage; zero for streams, and where the format keeps none.
  virtual ClassId class_id(ElementId element) = 0;

  /// The same with a name of its own.
  ElementRecord record(ElementId element);

  /// The path of an element below the root storage, names separated by "/"; empty for the root storage.
  virtual std::string path(ElementId element) = 0;

  /// All children of a storage in the order in which the format enumerates them.
  virtual std::vector<ElementId> children(ElementId storage) = 0;

  /// The children in the order of a listing, as far as they can be read: what kept the others from being
  /// loaded is raised by load_all().
  virtual std::vector<ElementId> readable_children(ElementId storage) { return children(storage); }

  /// The bytes of a stream; the source lives no longer than this object.
  virtual std::unique_ptr<support::ByteSource> open_stream(ElementId stream) = 0;

  /// All streams of that name, wherever they lie, in the order of a listing that goes into each storage where
  /// it stands.
  virtual std::vector<ElementId> streams_named(std::string_view name);

  /// What is damaged and was left out when the file was opened, a line of text each; some twenty at most.
  virtual std::span<const std::string> damage() const { return {}; }

  /// True when what has been loaded so far reaches beyond the end of the file. Loads nothing itself.
  virtual bool is_truncated() = 0;

  /// Hands over who owns which byte of the file, the streams in runs. Loads all that the file lists; what is
  /// damaged leaves gaps, and is raised by load_all(), open_stream() or told by damage(). Takes time in
  /// proportion to the file, and no memory for what it hands over.
  virtual void lay_out(LayoutSink& sink) { static_cast<void>(sink); }

  /// What is known of the container itself; loads all that the file lists.
  virtual ContainerFacts facts() { return {}; }

  /// Overlaps and names listed twice; loads all that the file lists.
  virtual LayoutFaults layout_faults() { return {}; }
};

/// A stream wanted by its name alone: in "/Root", "/Root/VR_PART", "/Root/FastLoad", then in the rest of the
/// tree in listing order.
std::optional<ElementId> find_stream_by_name(StorageFile& file, std::string_view name);

/// The open container over the channel, which must outlive it; nothing when the file is of neither kind.
std::unique_ptr<StorageFile> open_storage_file(FileChannel& channel);

/// For a file that open_storage_file() raises for: what is known of it up to the damage, and the ranges that
/// are certain, none of them a stream's. Raises 1020059 alone.
ContainerFacts lay_out_damaged(FileChannel& channel, LayoutSink& sink);

}  // namespace VRX::System::CFI
