#include "inspect/part_container.h"

#include "cfi/cfi_error_codes.h"
#include "cfi/expanded_source.h"
#include "cfi/stream_names.h"

namespace inspect {

using namespace VRX::System::CFI;

namespace {

/// The part stream of a container, which must have one.
std::unique_ptr<support::ByteSource> open_stored_part(StorageFile& file) {
  const auto storage = file.find_child(kRootElement, stream_names::kPartStorage);
  const auto stream = storage ? file.find_child(*storage, stream_names::kPart) : std::nullopt;
  if (!stream || file.record(*stream).type != ElementType::stream) {
    throw make_error(kElementNotFound, stream_names::kPartPath);
  }
  return file.open_stream(*stream);
}

}  // namespace

void PartContainer::open(const std::string& name) {
  auto channel = std::make_unique<FileChannel>(name);
  file_ = open_storage_file(*channel);
  channel_ = std::move(channel);
  if (file_) root_.emplace(*file_, name);
}

std::unique_ptr<support::ByteSource> PartContainer::open_part_stream(
    std::optional<support::ErrorEscape>* failure) {
  if (!file_) return std::make_unique<ChannelSource>(*channel_, 0, channel_->size());
  auto stored = open_stored_part(*file_);
  if (!is_lz4_framed(*stored)) return stored;
  ExpandedFile expanded = expand_to_temporary_file(*stored, stream_names::kPartPath, channel_->size());
  if (expanded.failure && failure == nullptr) throw *expanded.failure;
  if (failure != nullptr) *failure = std::move(expanded.failure);
  return std::move(expanded.source);
}

void PartContainer::load_all() {
  if (StorageFile* file = storage_file()) file->load_all();
}

std::span<const std::byte> PartContainer::header_copy() const {
  return file_ ? file_->part_header() : std::span<const std::byte>();
}

}  // namespace inspect
