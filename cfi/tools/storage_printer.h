#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "cfi/flat/cfi_storage.h"
#include "cfi/tools/listing_text.h"

namespace cfi_tools {

/// Prints the tree below a root storage, which outlives it; one kind of printer for each file format.
class StoragePrinter {
 public:
  explicit StoragePrinter(CFI_storage_t root);
  virtual ~StoragePrinter() = default;
  StoragePrinter(const StoragePrinter&) = delete;
  StoragePrinter& operator=(const StoragePrinter&) = delete;

  virtual void print_kind() = 0;
  virtual void print_column_header() = 0;

  /// Everything inside `storage`, each level 4 columns further in. Raises 1021265 when storages are nested
  /// more than 16384 deep, or so deep in so many places that the indentation alone would fill 1 GiB.
  virtual void print_children(VRX::System::CFI::ElementId storage, std::size_t indent) = 0;

  /// What is left to say behind the truncation line. Raises what kept the listing incomplete.
  virtual void finish() = 0;

 protected:
  VRX::System::CFI::StorageFile& file() const { return CFI_storage_file(root_); }

 private:
  CFI_storage_t root_;
};

/// For Microsoft compound files.
class MSStoragePrinter final : public StoragePrinter {
 public:
  using StoragePrinter::StoragePrinter;

  void print_kind() override;
  void print_column_header() override {}
  void print_children(VRX::System::CFI::ElementId storage, std::size_t indent) override;
  void finish() override {}

 private:
  bool print_element(VRX::System::CFI::ElementId element, std::size_t indent);

  ListingText text_;
};

/// For the maker's storage files, with the place of each stream in the file.
class KVPMStoragePrinter final : public StoragePrinter {
 public:
  using StoragePrinter::StoragePrinter;

  void print_kind() override;
  void print_column_header() override;
  void print_children(VRX::System::CFI::ElementId storage, std::size_t indent) override;
  void finish() override;

 private:
  bool print_element(VRX::System::CFI::ElementId element, std::size_t indent);

  ListingText text_;
};

std::unique_ptr<StoragePrinter> make_storage_printer(CFI_storage_t root);

}  // namespace cfi_tools
