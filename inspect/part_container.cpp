#include "inspect/part_container.h"

#include "cfi/cfi_error_codes.h"
#include "cfi/expanded_source.h"
#include "inspect/records/named_streams.h"

namespace inspect {

using namespace VRX::System::CFI;

namespace {

constexpr const char* kPartStreamPath = "/Root/VR_PART/VR_PART";

/// The part stream of a container, which must have one.
std::unique_ptr<support::ByteSource> open_stored_part(StorageFile& file) {
  const auto storage = file.find_child(kRootElement, kPartStorageName);
  const auto stream = storage ? file.find_child(*storage, kPartStreamName) : std::nullopt;
  if (!stream || file.record(*stream).type != ElementType::stream) {
    throw make_error(kElementNotFound, kPartStreamPath);
  }
  return file.open_stream(*stream);
}

}  // namespace

void PartContainer::open(const std::string& name) {
  auto channel = std::make_unique<FileChannel>(name);
  identity_ = channel->identity();
  const FileChannel* const opened = channel.get();
  if (recognise(*channel) == FileKind::flat) {
    flat_ = std::move(channel);
  } else {
    root_.reset(CFI_open_storage_file(std::move(channel)));
  }
  channel_ = opened;
}

StorageFile* PartContainer::storage_file() const { return root_ ? &CFI_storage_file(root_.get()) : nullptr; }

std::unique_ptr<support::ByteSource> PartContainer::open_part_stream() {
  if (flat_) return std::make_unique<ChannelSource>(*flat_, 0, flat_->size());
  auto stored = open_stored_part(*storage_file());
  if (!is_lz4_framed(*stored)) return stored;
  ExpandedFile expanded = expand_to_temporary_file(*stored, kPartStreamPath);
  if (expanded.failure) throw *expanded.failure;
  return std::move(expanded.source);
}

void PartContainer::load_all() {
  if (StorageFile* file = storage_file()) file->load_all();
}

std::span<const std::byte> PartContainer::header_copy() const {
  const StorageFile* file = storage_file();
  return file == nullptr ? std::span<const std::byte>() : file->part_header();
}

}  // namespace inspect
