#pragma once

#include <cstddef>
#include <memory>

#include "cfi/tools/storage_listing.h"
#include "inspect/report/listing_text.h"

namespace inspect {

/// Prints what the root storage of a file holds; one kind of printer for each file format.
class StoragePrinter {
 public:
  /// `rootStorage` tells of the root storage; it and the console outlive the printer.
  StoragePrinter(const cfi_tools::StorageListingHead* rootStorage, support::Console& console);
  virtual ~StoragePrinter() = default;
  StoragePrinter(const StoragePrinter&) = delete;
  StoragePrinter& operator=(const StoragePrinter&) = delete;

  virtual void print_kind() = 0;
  virtual void print_column_header() = 0;

  /// The line of one child, on the way through the children of a storage at that indent in columns.
  virtual void print_child(const VRX::System::CFI::ElementNode& child, std::size_t indent) = 0;

  /// Behind the last child; lines may have been kept back until here.
  void finish() { text_.flush(); }

 protected:
  const cfi_tools::StorageListingHead& root() const { return *root_; }
  support::Console& console() const { return console_; }
  ListingText& text() { return text_; }

 private:
  const cfi_tools::StorageListingHead* root_;
  support::Console& console_;
  ListingText text_;
};

/// For Microsoft compound files.
class MSStoragePrinter final : public StoragePrinter {
 public:
  using StoragePrinter::StoragePrinter;

  void print_kind() override;
  void print_column_header() override {}
  void print_child(const VRX::System::CFI::ElementNode& child, std::size_t indent) override;
};

/// For the maker's storage files, with the place of each stream in the file.
class KVPMStoragePrinter final : public StoragePrinter {
 public:
  using StoragePrinter::StoragePrinter;

  void print_kind() override;
  void print_column_header() override;
  void print_child(const VRX::System::CFI::ElementNode& child, std::size_t indent) override;
};

/// The printer that suits the format.
std::unique_ptr<StoragePrinter> make_storage_printer(const cfi_tools::StorageListingHead& rootStorage,
                                                     support::Console& console);

}  // namespace inspect
