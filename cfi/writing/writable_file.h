#pragma once

#include <cstddef>
#include <string_view>

#include "cfi/storage_file.h"
#include "cfi/writing/container.h"

namespace VRX::System::CFI {

/// A storage file of either format that is open for writing: a new one, or one to be updated. Elements are
/// known by their number in the order of creation; the root storage is 0. Nothing is seen under the file's
/// name before `commit`, and what has been written can be read once it is committed.
class WritableFile : public StorageFile {
 public:
  bool is_truncated() override { return false; }

  /// These raise 1021253 for a name that the format does not take or a parent that is no storage, 1021252
  /// when the element exists already. What raises leaves no element behind.
  virtual ElementId create_storage(ElementId parent, std::string_view name) = 0;

  /// The new stream is open for writing.
  virtual ElementId create_stream(ElementId parent, std::string_view name) = 0;

  virtual void set_class(ElementId storage, const ClassId& class_id) = 0;

  /// The bytes of a stream that was created or opened for write, valid until the commit.
  virtual Container& container(ElementId stream) = 0;

  /// Takes up the writing of a stream of the old file, or of one that was released. Raises 1021253 when it is
  /// being written already or no stream, 1020023 when the old file does not hold all of it.
  virtual Container& open_for_write(ElementId stream) = 0;

  /// Ends the writing of a stream.
  virtual void release(ElementId stream) = 0;

  virtual std::size_t element_count() const = 0;

  /// Takes back the elements that were created last, until `count` are left; none of them may be open.
  virtual void drop_from(std::size_t count) = 0;

  /// A write has failed: the file must not be committed.
  virtual void mark_failed() = 0;

  /// Completes the file and gives it its name. Raises 1021253 when a write has failed before.
  virtual void commit() = 0;
};

}  // namespace VRX::System::CFI
