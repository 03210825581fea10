#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cfi/storage_file.h"
#include "cfi/stream_position.h"

namespace VRX::System::CFI {
class Storage;
class Stream;
}  // namespace VRX::System::CFI

/// Opaque handles of the flat interface. A caller owns what it opened until it closes it: streams before
/// their storage, storages before their parent, the root storage last. All functions raise
/// support::ErrorEscape with a container number unless they say otherwise.
using CFI_storage_t = VRX::System::CFI::Storage*;
using CFI_stream_t = VRX::System::CFI::Stream*;

/// Opens the container of a file; `options` is "R", "W" or "N" (its first letter decides; any other raises
/// 1021255). When a root storage of the same file name is open already, that one is returned and counted
/// once more. Raises 1021080 when the file is of neither kind. "N" begins a new file, in the maker's format
/// unless the hint "compound" is given: then it is a Microsoft compound file, of version 3 with a sector size
/// of 512 bytes or of version 4 with 4096. "W" updates a file of either kind. What is written takes the place
/// of the old file when the root storage is closed for the last time, and is lost when elements are still
/// open then. One writer at a time: a second one is refused (1021254). The hint "limit_names" has names of
/// elements checked to be at most 31 characters long; hints are separated by commas.
CFI_storage_t CFI_open_storage_file(const std::string& file_name, const char* options,
                                    const char* hints = nullptr, int sector_size = 4096);

/// "R" and "W" open an element that must exist (1021251), "N" creates one that must not (1021252). Only a
/// file that is open for writing takes "W" and "N" (1021254).
CFI_storage_t CFI_open_storage(CFI_storage_t parent, std::string_view name, const char* options);
CFI_stream_t CFI_open_stream(CFI_storage_t storage, std::string_view name, const char* options);

bool CFI_ask_if_storage_child_exists(CFI_storage_t storage, std::string_view child);
std::vector<VRX::System::CFI::ElementRecord> CFI_ask_storage_contents(CFI_storage_t storage);
std::vector<std::string> CFI_ask_storage_names(CFI_storage_t storage);
VRX::System::CFI::ElementRecord CFI_ask_stream_stats(CFI_stream_t stream);

/// Bytes read; a read shorter than asked means the stream's end.
std::size_t CFI__read_from_stream(CFI_stream_t stream, std::size_t count, void* buffer);

/// Writes at the position; the count written is the one asked for. Raises 1021254 for a stream that is read,
/// and "IStream_Write returned count %u not %u" (1020059) when the system stops on the way.
std::size_t CFI__write_to_stream(CFI_stream_t stream, std::size_t count, const void* buffer);

std::uint64_t CFI_ask_stream_current_pos(CFI_stream_t stream);
void CFI__set_stream_absolute_pos(CFI_stream_t stream, std::uint64_t position);
void CFI_set_stream_relative_pos(CFI_stream_t stream, std::int64_t distance);

VRX::System::CFI::ClassId CFI_get_storage_class(CFI_storage_t storage);
void CFI_set_storage_class(CFI_storage_t storage, const VRX::System::CFI::ClassId& class_id);

/// Copies a stream, or a storage with all in it and its class, into a storage of a file that is open for
/// writing, under a name that is new there.
void CFI_copy_storage_element(CFI_storage_t source, std::string_view name, CFI_storage_t destination,
                              std::string_view new_name);

/// Lends a stream as a file channel: a descriptor that holds the stream's bytes and stands at its position.
int CFI_convert_stream_to_fileid(CFI_stream_t stream);

/// Takes a stream back: what the channel holds becomes the bytes of a stream that is written, and the
/// channel is closed. Raises "Could not flush channel %d" (1020059).
void CFI_release_stream_fileid(CFI_stream_t stream, int channel);

/// 0 on success, else an error number; never raises. The handle is released either way.
int CFI_close_stream(CFI_stream_t stream);
int CFI_close_storage(CFI_storage_t storage);

/// How many files, storages and streams are open: 0 when every handle has been closed.
std::size_t CFI_ask_open_element_count();

/// The open file beneath a storage.
VRX::System::CFI::StorageFile& CFI_storage_file(CFI_storage_t storage);

/// A stream as the source that readers take; lives as long as the handle.
support::ByteSource& CFI_stream_source(CFI_stream_t stream);

namespace VRX::System::CFI {

struct CloseStorage {
  void operator()(Storage* storage) const { CFI_close_storage(storage); }
};
struct CloseStream {
  void operator()(Stream* stream) const { CFI_close_stream(stream); }
};

/// Handles that close themselves; scopes close them in reverse order.
using OwnedStorage = std::unique_ptr<Storage, CloseStorage>;
using OwnedStream = std::unique_ptr<Stream, CloseStream>;

}  // namespace VRX::System::CFI
