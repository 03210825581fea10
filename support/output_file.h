#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "support/console.h"
#include "support/unfinished_output.h"

namespace support {

/// Which file a name leads to, whatever the name: device and inode.
struct FileIdentity {
  dev_t device = 0;
  ino_t inode = 0;
  bool operator==(const FileIdentity&) const = default;
};

/// True when `name` exists and is the file of `identity`, under whatever name.
bool is_same_file(const std::string& name, const FileIdentity& identity);

/// A file written from its start by an extraction (mode "wb"): unbuffered, so callers write large pieces. No
/// part is ever written over: the rule is here, so that no extraction can forget it. A named one that ends
/// before it was closed, because an error came between, is told to be incomplete; a signal removes it.
class OutputFile {
 public:
  /// What befalls the file is told on `console`; a null one is told nothing.
  explicit OutputFile(Console* console = nullptr) : console_(console) {}

  /// Takes over a descriptor that is open for writing; a negative one makes a file that is not open, for the
  /// reason `error`.
  explicit OutputFile(int descriptor, int error = 0) : descriptor_(descriptor), error_(error) {}

  OutputFile(OutputFile&&) noexcept;
  OutputFile& operator=(OutputFile&&) = delete;
  ~OutputFile();

  /// Creates or empties the file; false when that fails, and error() tells why. Once only. A file that is a
  /// part, whatever it holds, and `part`, the file that is being read, under whatever name, is refused before
  /// it is touched: false, and the console is told why.
  bool open(const std::string& name, const FileIdentity& part = {});

  /// True when open() refused the file.
  bool was_refused() const { return refused_; }
  bool is_open() const { return descriptor_ >= 0; }

  /// The system's number for what failed last; 0 when nothing has.
  int error() const { return error_; }

  /// False when not all bytes could be written.
  bool write(const void* bytes, std::size_t count);

  /// Bytes written so far; no value when it is no regular file, which can not be cut.
  std::optional<std::uint64_t> length() const;

  /// Takes back what was written behind the first `length` bytes; false when that fails, and error() tells
  /// why.
  bool cut(std::uint64_t length);

  /// Gives the descriptor away.
  int release();

  /// False when the system reports late that a write failed.
  bool close();

 private:
  Console* console_ = nullptr;
  std::string shown_name_;  ///< made at the start: at the end there may be no memory for it
  int descriptor_ = -1;
  int error_ = 0;
  bool refused_ = false;
  UnfinishedOutput unfinished_;
};

}  // namespace support
