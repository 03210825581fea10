#include "cfi/flat/open_elements.h"

#include <algorithm>

#include "cfi/cfi_error_codes.h"
#include "cfi/writing/compound_writable_file.h"
#include "cfi/writing/kvpm_writable_file.h"
#include "cfi/writing/lock_bytes_factories.h"

namespace VRX::System::CFI {

namespace {

void check_sector_size(int sector_size) {
  if (sector_size == 512 || sector_size == 4096) return;
  throw make_error(kInternalFailure, "the sector size is neither 512 nor 4096");
}

}  // namespace

AccessMode access_mode(const char* options) {
  switch (options == nullptr ? '\0' : options[0]) {
    case 'R':
      return AccessMode::read;
    case 'W':
      return AccessMode::write;
    case 'N':
      return AccessMode::create;
    default:
      throw make_error(kInvalidOptions, options == nullptr ? "" : options);
  }
}

bool has_hint(std::string_view hints, std::string_view hint) {
  while (!hints.empty()) {
    const std::size_t end = std::min(hints.find(','), hints.size());
    if (hints.substr(0, end) == hint) return true;
    hints.remove_prefix(std::min(end + 1, hints.size()));
  }
  return false;
}

RootStorageNode::RootStorageNode(const std::string& name, AccessMode mode, std::string_view hints,
                                 int sector_size)
    : file_name(name),
      limits_names(has_hint(hints, kLimitNamesHint)),
      channel(mode == AccessMode::create ? nullptr : ReadOnlyLockBytesFactory().make(name)),
      file(mode == AccessMode::read ? open_for_read() : open_for_write(mode, hints, sector_size)),
      storage(*this, *file) {
  if (file->kind() == FileKind::microsoft) check_sector_size(sector_size);
}

std::unique_ptr<StorageFile> RootStorageNode::open_for_read() const {
  auto opened = open_storage_file(*channel);
  if (!opened) throw make_error(kNotAStorageFile, file_name.c_str());
  return opened;
}

std::unique_ptr<StorageFile> RootStorageNode::open_for_write(AccessMode mode, std::string_view hints,
                                                             int sector_size) {
  auto opened = mode == AccessMode::create ? create(hints, sector_size) : open_for_update();
  writable = opened.get();
  return opened;
}

std::unique_ptr<WritableFile> RootStorageNode::create(std::string_view hints, int sector_size) const {
  if (!has_hint(hints, kCompoundHint)) return std::make_unique<KVPMWritableFile>(file_name);
  check_sector_size(sector_size);
  return std::make_unique<CompoundWritableFile>(file_name, sector_size == 512 ? 3U : 4U);
}

std::unique_ptr<WritableFile> RootStorageNode::open_for_update() const {
  switch (recognise(*channel)) {
    case FileKind::kvpm:
      return std::make_unique<KVPMWritableFile>(file_name, *channel);
    case FileKind::microsoft:
      return std::make_unique<CompoundWritableFile>(file_name, *channel);
    case FileKind::flat:
      break;
  }
  throw make_error(kNotAStorageFile, file_name);
}

OpenElements& OpenElements::instance() {
  static OpenElements elements;
  return elements;
}

RootStorageNode* OpenElements::find_root(const std::string& file_name) const {
  for (const auto& root : roots_) {
    if (root->file_name == file_name) return root.get();
  }
  return nullptr;
}

Storage& OpenElements::open_root(const std::string& file_name, AccessMode mode, const char* hints,
                                 int sector_size) {
  RootStorageNode* const open = find_root(file_name);
  if (open == nullptr) {
    const std::string_view given = hints == nullptr ? "" : hints;
    roots_.push_back(std::make_unique<RootStorageNode>(file_name, mode, given, sector_size));
    return roots_.back()->storage;
  }
  if (mode == AccessMode::create || (mode == AccessMode::write && open->writable == nullptr)) {
    throw make_error(kUnsupportedOperation, "writing to a file that is open already");
  }
  ++open->storage.handle_count_;
  return open->storage;
}

Storage& OpenElements::add_storage(Storage& parent, ElementId element, std::string_view name) {
  auto opened = std::make_unique<Storage>(parent, element, name);
  ++parent.open_children_;
  const Storage* const key = opened.get();
  return *storages_.emplace(key, std::move(opened)).first->second;
}

Stream& OpenElements::add_stream(Storage& parent, ElementId element, std::string_view name,
                                 std::unique_ptr<support::ByteSource> source) {
  return own(std::make_unique<Stream>(parent, element, name, std::move(source)));
}

Stream& OpenElements::add_stream(Storage& parent, ElementId element, std::string_view name,
                                 Container& container) {
  return own(std::make_unique<Stream>(parent, element, name, container));
}

Stream& OpenElements::own(std::unique_ptr<Stream> stream) {
  ++stream->parent_.open_children_;
  const Stream* const key = stream.get();
  return *streams_.emplace(key, std::move(stream)).first->second;
}

std::unique_ptr<RootStorageNode> OpenElements::take_root(const Storage& storage) {
  const auto found = std::ranges::find(roots_, &storage, [](const auto& root) { return &root->storage; });
  std::unique_ptr<RootStorageNode> root = std::move(*found);
  roots_.erase(found);
  return root;
}

bool OpenElements::close(Storage& storage) {
  if (storage.handle_count_ > 0) --storage.handle_count_;
  if (storage.handle_count_ > 0) return true;
  if (storage.open_children_ > 0) return false;
  if (storage.parent_ == nullptr) {
    const std::unique_ptr<RootStorageNode> root = take_root(storage);
    if (root->writable != nullptr) root->writable->commit();
    return true;
  }
  Storage* const parent = storage.parent_;
  storages_.erase(&storage);
  child_closed(parent);
  return true;
}

// The stream goes before the storages above it: what it reads through belongs to the file.
void OpenElements::close(Stream& stream) {
  std::unique_ptr<Stream> closed = std::move(streams_.extract(&stream).mapped());
  Storage& parent = closed->parent_;
  const auto end = [&] {
    closed.reset();
    child_closed(&parent);
  };
  try {
    if (closed->container_ != nullptr) {
      parent.root_.writable->release(closed->element());
    }
  } catch (const support::ErrorEscape&) {
    end();
    throw;
  }
  end();
}

// Also ends the storages above that were closed before their children; a loop, since they may be nested deep.
void OpenElements::child_closed(Storage* parent) {
  while (parent != nullptr && --parent->open_children_ == 0 && parent->handle_count_ == 0) {
    Storage* const above = parent->parent_;
    if (above == nullptr) {
      take_root(*parent);
    } else {
      storages_.erase(parent);
    }
    parent = above;
  }
}

}  // namespace VRX::System::CFI
