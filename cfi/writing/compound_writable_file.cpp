#include "cfi/writing/compound_writable_file.h"

#include <cerrno>
#include <span>
#include <utility>

#include "cfi/cfi_error_codes.h"
#include "cfi/compound/compound_header.h"
#include "cfi/element_path.h"
#include "cfi/writing/compound_tables.h"
#include "support/byte_copy.h"

namespace VRX::System::CFI {

namespace {

constexpr std::size_t kLongestName = compound::entry::kMaxNameBytes / 2 - 1;

std::u16string checked_name(std::string_view name) {
  check_name(name);
  std::optional<std::u16string> units = utf16_from_utf8(name);
  if (!units || name.find_first_of("\\:!") != std::string_view::npos ||
      name.find('\0') != std::string_view::npos) {
    throw make_error(kInternalFailure, "a name that no element of a compound file can have");
  }
  if (units->size() > kLongestName) throw make_error(kNameTooLong, static_cast<int>(units->size()));
  return *std::move(units);
}

}  // namespace

CompoundWritableFile::CompoundWritableFile(const std::string& file_name, unsigned version)
    : file_(file_name), space_(file_.channel(), version) {
  elements_.emplace_back().name = u"Root Entry";
}

CompoundWritableFile::CompoundWritableFile(const std::string& file_name, FileChannel& old)
    : file_(file_name),
      old_(std::make_unique<MicrosoftStorageFile>(old)),
      space_(file_.channel(), version_for(old)) {
  file_.require_replaced(old);
  if (!old_->damage().empty()) throw make_error(kDamagedCompoundFile, old_->damage().front());
  if (old_->is_truncated()) throw make_error(kEndOfStream);
  elements_.emplace_back().name = u"Root Entry";
  add_from_old();
}

unsigned CompoundWritableFile::version_for(FileChannel& old) {
  const CompoundHeader header = read_compound_header(old);
  return header.major_version == 3 && header.sector_shift == 9 ? 3 : 4;
}

// Storages come before what is in them.
void CompoundWritableFile::add_from_old() {
  elements_[0].class_id = old_->record(kRootElement).class_id;
  elements_[0].old = kRootElement;
  for (ElementId parent = 0; parent < elements_.size(); ++parent) {
    if (elements_[parent].type == ElementType::stream) continue;
    for (const ElementId child : old_->children(*elements_[parent].old)) {
      const ElementRecord record = old_->record(child);
      const ElementId added = add(parent, *utf16_from_utf8(record.name), record.type);
      elements_[added].class_id = record.class_id;
      elements_[added].old = child;
    }
  }
}

CompoundWritableFile::Element& CompoundWritableFile::element(ElementId id) {
  if (id >= elements_.size()) throw make_error(kInternalFailure, "no such element in the directory");
  return elements_[id];
}

CompoundWritableFile::Element& CompoundWritableFile::storage(ElementId id) {
  Element& found = element(id);
  if (found.type == ElementType::storage) return found;
  throw make_error(kInternalFailure, "the parent of a new element is no storage");
}

CompoundWritableFile::Element& CompoundWritableFile::stream(ElementId id) {
  thread_check_.require_own_thread();
  Element& found = element(id);
  if (found.type == ElementType::stream) return found;
  throw make_error(kInternalFailure, "the element to be read or written is no stream");
}

std::optional<ElementId> CompoundWritableFile::find_child(ElementId storage, std::string_view name) {
  const std::optional<std::u16string> wanted = utf16_from_utf8(name);
  if (!wanted) return std::nullopt;
  const auto& children = element(storage).children;
  const auto found = children.find(*wanted);
  if (found == children.end()) return std::nullopt;
  return found->second;
}

ElementNode CompoundWritableFile::node(ElementId id) {
  const Element& found = element(id);
  std::uint64_t size = 0;
  if (found.container) {
    size = found.container->size();
  } else if (found.old) {
    size = old_->node(*found.old).size;
  }
  node_name_ = utf8_from_utf16(found.name);
  return {.type = found.type, .name = node_name_, .size = size};
}

std::string CompoundWritableFile::path(ElementId id) {
  std::string path;
  for (; id != kRootElement; id = element(id).parent) {
    const std::string name = utf8_from_utf16(element(id).name);
    path = path.empty() ? name : joined_path(name, path);
  }
  return path;
}

std::vector<ElementId> CompoundWritableFile::children(ElementId storage) {
  std::vector<ElementId> found;
  for (const auto& [name, child] : element(storage).children) found.push_back(child);
  return found;
}

std::unique_ptr<support::ByteSource> CompoundWritableFile::open_stream(ElementId id) {
  const Element& found = stream(id);
  if (found.is_released) {
    throw make_error(kUnsupportedOperation,
                     "reading a stream that is released but not committed: " + path(id));
  }
  if (found.container) {
    throw make_error(kInternalFailure, "reading a stream that is being written: " + path(id));
  }
  return old_->open_stream(*found.old);
}

ElementId CompoundWritableFile::add(ElementId parent, std::u16string name, ElementType type) {
  Element& above = storage(parent);
  const ElementId number = elements_.size();
  if (!above.children.emplace(name, number).second) {
    throw make_error(kElementExists, joined_path(path(parent), utf8_from_utf16(name)));
  }
  Element& added = elements_.emplace_back();
  added.name = std::move(name);
  added.type = type;
  added.parent = parent;
  return number;
}

ElementId CompoundWritableFile::create(ElementId parent, std::string_view name, ElementType type) {
  thread_check_.require_own_thread();
  return add(parent, checked_name(name), type);
}

ElementId CompoundWritableFile::create_storage(ElementId parent, std::string_view name) {
  return create(parent, name, ElementType::storage);
}

ElementId CompoundWritableFile::create_stream(ElementId parent, std::string_view name) {
  const ElementId added = create(parent, name, ElementType::stream);
  elements_[added].container = std::make_unique<SectorStream>(space_, compound::kMiniStreamCutoff);
  return added;
}

void CompoundWritableFile::set_class(ElementId storage, const ClassId& class_id) {
  element(storage).class_id = class_id;
}

Container& CompoundWritableFile::container(ElementId id) { return *stream(id).container; }

std::unique_ptr<SectorStream> CompoundWritableFile::copy_from_old(Element& from) {
  auto copy = std::make_unique<SectorStream>(space_, compound::kMiniStreamCutoff);
  const auto source = old_->open_stream(*from.old);
  try {
    const std::uint64_t copied = support::copy_source(*source, [&](std::span<const std::byte> bytes) {
      if (copy->write(bytes.data(), bytes.size()) != bytes.size()) throw system_call_failed(ENOSPC);
    });
    if (copied < source->size()) throw make_error(kEndOfStream);
  } catch (const support::ErrorEscape&) {
    copy->truncate(0);
    throw;
  }
  return copy;
}

Container& CompoundWritableFile::open_for_write(ElementId id) {
  Element& found = stream(id);
  if (!found.container) {
    found.container = copy_from_old(found);
  } else if (!found.is_released) {
    throw make_error(kInternalFailure, "writing to a stream that is being written: " + path(id));
  }
  found.container->set_position(0);
  found.is_released = false;
  return *found.container;
}

void CompoundWritableFile::release(ElementId id) { stream(id).is_released = true; }

void CompoundWritableFile::drop_from(std::size_t count) {
  thread_check_.require_own_thread();
  while (elements_.size() > count) {
    const Element& last = elements_.back();
    if (last.container) last.container->truncate(0);
    elements_[last.parent].children.erase(last.name);
    elements_.pop_back();
  }
}

void CompoundWritableFile::commit() {
  thread_check_.require_own_thread();
  if (has_failed_) throw make_error(kInternalFailure, "a write to the file has failed before");
  std::vector<DirectoryItem> items;
  for (Element& written : elements_) {
    if (written.type == ElementType::stream && !written.container) {
      written.container = copy_from_old(written);
    }
    DirectoryItem& item =
        items.emplace_back(DirectoryItem{.name = written.name, .class_id = written.class_id});
    item.stream = written.container.get();
    for (const auto& [name, child] : written.children)
      item.children.push_back(static_cast<std::uint32_t>(child));
  }
  write_compound_tables(space_, items);
  file_.channel().flush();
  file_.commit();
}

}  // namespace VRX::System::CFI
