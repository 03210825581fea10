#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cfi/file_channel.h"
#include "cfi/storage_file.h"

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
  Stream(Storage& parent, ElementId element, std::string_view name,
         std::unique_ptr<support::ByteSource> source)
      : parent_(parent), element_(element), name_(name), source_(std::move(source)) {}

  Storage& parent() const { return parent_; }
  ElementId element() const { return element_; }
  support::ByteSource& source() const { return *source_; }
  std::string path() const;

 private:
  friend class OpenElements;

  Storage& parent_;
  ElementId element_;
  std::string name_;
  std::unique_ptr<support::ByteSource> source_;
};

/// The hint under which a root storage limits the names of its elements.
inline constexpr std::string_view kLimitNamesHint = "limit_names";

/// An open file with its root storage.
struct RootStorageNode {
  RootStorageNode(const std::string& file_name, std::string_view hints, int sector_size);

  FileChannel channel;
  bool limits_names;  ///< names of elements are checked to have at most 31 characters
  std::unique_ptr<StorageFile> file;
  Storage storage;
};

/// The open elements of all files: one root per file name, and how many elements are open in each storage.
class OpenElements {
 public:
  static OpenElements& instance();

  /// The root storage of the file, counted once more when it is open already.
  Storage& open_root(const std::string& file_name, const char* hints, int sector_size);
  Storage& open_storage(Storage& parent, ElementId element, std::string_view name);
  Stream& open_stream(Storage& parent, ElementId element, std::string_view name,
                      std::unique_ptr<support::ByteSource> source);

  /// False when elements in the storage are still open; it then lives on until the last of them is closed.
  bool close(Storage& storage);
  void close(Stream& stream);

 private:
  void child_closed(Storage* parent);

  std::vector<std::unique_ptr<RootStorageNode>> roots_;
};

}  // namespace VRX::System::CFI
