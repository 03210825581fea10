#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cfi/file_channel.h"
#include "support/byte_source.h"

namespace VRX::System::CFI {

/// What the first 8 bytes of a file say.
enum class FileKind { flat, kvpm, microsoft };

inline constexpr std::size_t kSignatureSize = 8;
inline constexpr std::string_view kKvpmSignature = "KVPMSSTR";
inline constexpr std::string_view kMicrosoftSignature{"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", kSignatureSize};

FileKind recognise(FileChannel& channel);

/// A class identifier in GUID layout.
struct ClassId {
  std::uint32_t data1 = 0;
  std::uint16_t data2 = 0;
  std::uint16_t data3 = 0;
  std::array<std::uint8_t, 8> data4 = {};
  bool operator==(const ClassId&) const = default;
};

enum class ElementType { storage, stream };

/// What a contents enquiry tells of one element. `size` is in bytes and 0 for storages; `class_id` is zero
/// for streams.
struct ElementRecord {
  ElementType type = ElementType::stream;
  std::string name;
  std::uint64_t size = 0;
  ClassId class_id;
};

/// Names one element inside its StorageFile; meaningless in any other. The root storage is kRootElement.
using ElementId = std::uint64_t;
inline constexpr ElementId kRootElement = 0;

/// An open container of either format, read only: a tree of storages with streams as leaves.
/// All operations raise ErrorEscape with a container number when the file is damaged or cannot be read.
class StorageFile {
 public:
  StorageFile() = default;
  StorageFile(const StorageFile&) = delete;
  StorageFile& operator=(const StorageFile&) = delete;
  virtual ~StorageFile() = default;

  virtual FileKind kind() const = 0;

  /// The child of that name, without opening it.
  virtual std::optional<ElementId> find_child(ElementId storage, std::string_view name) = 0;

  virtual ElementRecord record(ElementId element) = 0;

  /// All children of a storage in the order in which the format enumerates them.
  virtual std::vector<ElementId> children(ElementId storage) = 0;

  /// The bytes of a stream; the source lives no longer than this object.
  virtual std::unique_ptr<support::ByteSource> open_stream(ElementId stream) = 0;

  /// All streams of that name, wherever they lie, in the order of a listing that goes into each storage where
  /// it stands.
  virtual std::vector<ElementId> streams_named(std::string_view name);

  /// True when what has been loaded so far reaches beyond the end of the file. Loads nothing itself.
  virtual bool is_truncated() = 0;
};

/// A stream wanted by its name alone: in "/Root", "/Root/VR_PART", "/Root/FastLoad", then in the rest of the
/// tree in listing order.
std::optional<ElementId> find_stream_by_name(StorageFile& file, std::string_view name);

/// The open container over the channel, which must outlive it; nothing when the file is of neither kind.
std::unique_ptr<StorageFile> open_storage_file(FileChannel& channel);

}  // namespace VRX::System::CFI
