#include "cfi/open_elements.h"

#include <algorithm>

#include "cfi/cfi_error_codes.h"
#include "cfi/element_path.h"
#include "cfi/kvpm_format.h"

namespace VRX::System::CFI {

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

std::string Storage::path() const {
  std::vector<const Storage*> way;
  for (const Storage* storage = this; storage != nullptr; storage = storage->parent_) way.push_back(storage);
  std::string path;
  for (auto storage = way.rbegin(); storage != way.rend(); ++storage)
    path.append("/").append((*storage)->name_);
  return path;
}

std::string Stream::path() const { return joined_path(parent_.path(), name_); }

RootStorageNode::RootStorageNode(const std::string& file_name, std::string_view hints, int sector_size)
    : channel(file_name),
      limits_names(hints == kLimitNamesHint),
      file(open_storage_file(channel)),
      storage(*this, nullptr, kRootElement, last_component(kRootPath)) {
  if (!file) throw make_error(kNotAStorageFile, file_name.c_str());
  if (file->kind() == FileKind::microsoft && sector_size != 512 && sector_size != 4096) {
    throw make_error(kInternalFailure, "the sector size is neither 512 nor 4096");
  }
}

OpenElements& OpenElements::instance() {
  static OpenElements elements;
  return elements;
}

Storage& OpenElements::open_root(const std::string& file_name, const char* hints, int sector_size) {
  const auto is_wanted = [&](const auto& root) { return root->channel.name() == file_name; };
  const auto open = std::ranges::find_if(roots_, is_wanted);
  if (open != roots_.end()) {
    ++(*open)->storage.handle_count_;
    return (*open)->storage;
  }
  return roots_
      .emplace_back(std::make_unique<RootStorageNode>(file_name, hints == nullptr ? "" : hints, sector_size))
      ->storage;
}

Storage& OpenElements::open_storage(Storage& parent, ElementId element, std::string_view name) {
  auto opened = std::make_unique<Storage>(parent.root_, &parent, element, name);
  ++parent.open_children_;
  return *opened.release();
}

Stream& OpenElements::open_stream(Storage& parent, ElementId element, std::string_view name,
                                  std::unique_ptr<support::ByteSource> source) {
  auto opened = std::make_unique<Stream>(parent, element, name, std::move(source));
  ++parent.open_children_;
  return *opened.release();
}

bool OpenElements::close(Storage& storage) {
  if (storage.handle_count_ > 0) --storage.handle_count_;
  if (storage.handle_count_ > 0) return true;
  if (storage.open_children_ > 0) return false;
  if (storage.parent_ == nullptr) {
    std::erase_if(roots_, [&](const auto& root) { return &root->storage == &storage; });
    return true;
  }
  Storage* const parent = storage.parent_;
  const std::unique_ptr<Storage> closed(&storage);
  child_closed(parent);
  return true;
}

void OpenElements::close(Stream& stream) {
  Storage* const parent = &stream.parent_;
  delete &stream;
  child_closed(parent);
}

// Also ends the storages above that were closed before their children; a loop, since they may be nested deep.
void OpenElements::child_closed(Storage* parent) {
  while (parent != nullptr && --parent->open_children_ == 0 && parent->handle_count_ == 0) {
    Storage* const above = parent->parent_;
    if (above == nullptr) {
      std::erase_if(roots_, [&](const auto& root) { return &root->storage == parent; });
    } else {
      delete parent;
    }
    parent = above;
  }
}

}  // namespace VRX::System::CFI
