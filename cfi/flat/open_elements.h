#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cfi/container.h"
#include "cfi/file_channel.h"
#include "cfi/storage_file.h"
#include "cfi/writing/kvpm_writable_file.h"

namespace VRX::System::CFI {

struct RootStorageNode;

/// What an option string asks for by its first letter.
enum class AccessMode { read, write, create };

/// "R", "W" or "N"; raises 1021255 for any other letter.
AccessMode access_mode(const char* options);

/// An open storage: what a CFI_storage_t points to.
class Storage {
 public:
  Storage(RootStorageNode& root, Storage* parent, ElementId element, std::string_view name)
      : root_(root), parent_(parent), element_(element), name_(name) {}

  RootStorageNode& root() const { return root_; }
  ElementId element() const { return element_; }

  /// The full path, put together on demand.
  std::string path() const;

 private:
  friend class OpenElements;

  RootStorageNode& root_;
  Storage* parent_;
  ElementId element_;
  std::string name_;
  std::size_t open_children_ = 0;
  std::size_t handle_count_ = 1;
};

/// An open stream: what a CFI_stream_t points to.
class Stream {
 public:
  /// A stream that is read.
  Stream(Storage& parent, ElementId element, std::string_view name,
         std::unique_ptr<support::ByteSource> source)
      : parent_(parent), element_(element), name_(name), owned_(std::move(source)), source_(*owned_) {}

  /// A stream that is written; its bytes belong to the file.
  Stream(Storage& parent, ElementId element, std::string_view name, Container& container)
      : parent_(parent), element_(element), name_(name), source_(container), container_(&container) {}

  Storage& parent() const { return parent_; }
  ElementId element() const { return element_; }
  support::ByteSource& source() const { return source_; }

  /// Null for a stream that is read.
  Container* container() const { return container_; }
  std::string path() const;

 private:
  friend class OpenElements;

  Storage& parent_;
  ElementId element_;
  std::string name_;
  std::unique_ptr<support::ByteSource> owned_;
  support::ByteSource& source_;
  Container* container_ = nullptr;
};

/// The hint under which a root storage limits the names of its elements.
inline constexpr std::string_view kLimitNamesHint = "limit_names";

/// An open file with its root storage.
struct RootStorageNode {
  RootStorageNode(const std::string& name, AccessMode mode, std::string_view hints, int sector_size);

  /// Open for reading.
  explicit RootStorageNode(std::unique_ptr<FileChannel> opened);

  std::string file_name;
  bool limits_names = false;             ///< names of elements are checked to have at most 31 characters
  std::unique_ptr<FileChannel> channel;  ///< null for a new file
  std::unique_ptr<StorageFile> file;
  KVPMWritableFile* writable = nullptr;  ///< `file` when it is open for writing
  Storage storage;

 private:
  void open_for_read();
  void open_for_write(AccessMode mode);
};

/// The open elements of all files: one root per file name, and how many elements are open in each storage.
class OpenElements {
 public:
  static OpenElements& instance();

  /// The root storage of the file, counted once more when it is open already. Raises 1021254 when it is open
  /// for less than is asked for.
  Storage& open_root(const std::string& file_name, AccessMode mode, const char* hints, int sector_size);
  Storage& open_root(std::unique_ptr<FileChannel> channel);
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
