#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cfi/file_channel.h"
#include "cfi/storage_element.h"
#include "cfi/writing/container.h"
#include "cfi/writing/writable_file.h"

namespace VRX::System::CFI {

struct RootStorageNode;

/// What an option string asks for by its first letter.
enum class AccessMode { read, write, create };

/// "R", "W" or "N"; raises 1021255 for any other letter.
AccessMode access_mode(const char* options);

/// An open storage: what a CFI_storage_t points to.
class Storage final : public StorageElement {
 public:
  /// The root storage of a file.
  Storage(RootStorageNode& root, StorageFile& file) : StorageElement(file), root_(root) {}

  Storage(Storage& parent, ElementId element, std::string_view name)
      : StorageElement(parent, element, name), root_(parent.root_), parent_(&parent) {}

  RootStorageNode& root() const { return root_; }

 private:
  friend class OpenElements;

  RootStorageNode& root_;
  Storage* parent_ = nullptr;
  std::size_t open_children_ = 0;
  std::size_t handle_count_ = 1;
};

/// An open stream: what a CFI_stream_t points to.
class Stream final : public StorageElement {
 public:
  /// A stream that is read.
  Stream(Storage& parent, ElementId element, std::string_view name,
         std::unique_ptr<support::ByteSource> source)
      : StorageElement(parent, element, name), parent_(parent), owned_(std::move(source)), source_(*owned_) {}

  /// A stream that is written; its bytes belong to the file.
  Stream(Storage& parent, ElementId element, std::string_view name, Container& container)
      : StorageElement(parent, element, name), parent_(parent), source_(container), container_(&container) {}

  Storage& parent() const { return parent_; }
  support::ByteSource& source() const { return source_; }

  /// Null for a stream that is read.
  Container* container() const { return container_; }

 private:
  friend class OpenElements;

  Storage& parent_;
  std::unique_ptr<support::ByteSource> owned_;
  support::ByteSource& source_;
  Container* container_ = nullptr;
};

/// The hint under which a root storage limits the names of its elements.
inline constexpr std::string_view kLimitNamesHint = "limit_names";

/// The hint under which "N" makes a Microsoft compound file: of version 3 with a sector size of 512 bytes, of
/// version 4 with 4096.
inline constexpr std::string_view kCompoundHint = "compound";

/// True when the hint is one of those, which commas separate.
bool has_hint(std::string_view hints, std::string_view hint);

/// An open file with its root storage.
struct RootStorageNode {
  RootStorageNode(const std::string& name, AccessMode mode, std::string_view hints, int sector_size);

  std::string file_name;
  bool limits_names;                     ///< names of elements are checked to have at most 31 characters
  WritableFile* writable = nullptr;      ///< `file` when it is open for writing
  std::unique_ptr<FileChannel> channel;  ///< null for a new file
  std::unique_ptr<StorageFile> file;
  Storage storage;

 private:
  std::unique_ptr<StorageFile> open_for_read() const;
  std::unique_ptr<StorageFile> open_for_write(AccessMode mode, std::string_view hints, int sector_size);
  std::unique_ptr<WritableFile> create(std::string_view hints, int sector_size) const;
  std::unique_ptr<WritableFile> open_for_update() const;
};

/// The open elements of all files: one root per file name, and how many elements are open in each storage.
class OpenElements {
 public:
  static OpenElements& instance();

  /// The root storage of the file, counted once more when it is open already. Raises 1021254 when it is open
  /// for less than is asked for.
  Storage& open_root(const std::string& file_name, AccessMode mode, const char* hints, int sector_size);
  Storage& add_storage(Storage& parent, ElementId element, std::string_view name);
  Stream& add_stream(Storage& parent, ElementId element, std::string_view name,
                     std::unique_ptr<support::ByteSource> source);
  Stream& add_stream(Storage& parent, ElementId element, std::string_view name, Container& container);

  std::size_t count() const { return roots_.size() + storages_.size() + streams_.size(); }

  /// False when elements in the storage are still open; it then lives on until the last of them is closed,
  /// and what was written to its file is lost. The last close of a root storage commits what was written;
  /// raises what that raises.
  bool close(Storage& storage);

  /// Ends the writing of a stream; raises what that raises, and the stream is gone either way.
  void close(Stream& stream);

 private:
  RootStorageNode* find_root(const std::string& file_name) const;
  std::unique_ptr<RootStorageNode> take_root(const Storage& storage);
  Stream& own(std::unique_ptr<Stream> stream);
  void child_closed(Storage* parent);

  // What lies in another goes first.
  std::vector<std::unique_ptr<RootStorageNode>> roots_;
  std::unordered_map<const Storage*, std::unique_ptr<Storage>> storages_;
  std::unordered_map<const Stream*, std::unique_ptr<Stream>> streams_;
};

}  // namespace VRX::System::CFI
