#pragma once

#include <string>
#include <string_view>

#include "cfi/storage_file.h"

namespace VRX::System::CFI {

/// An element of an open file, with the way to it from the root: what is common to the storages and streams
/// that somebody has open.
class StorageElement {
 public:
  /// The root storage of a file, which must outlive this object.
  explicit StorageElement(StorageFile& file);

  /// An element of the storage `parent`, which must stay where it is as long as this object lives.
  StorageElement(const StorageElement& parent, ElementId element, std::string_view name)
      : file_(parent.file_), parent_(&parent), element_(element), name_(name) {}

  StorageElement(const StorageElement&) = delete;
  StorageElement& operator=(const StorageElement&) = delete;

  StorageFile& file() const { return file_; }
  ElementId element() const { return element_; }

  /// The full path, put together on demand.
  std::string path() const;

 private:
  StorageFile& file_;
  const StorageElement* parent_ = nullptr;
  ElementId element_ = kRootElement;
  std::string name_;
};

}  // namespace VRX::System::CFI
