#pragma once

#include <unistd.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "support/byte_sink.h"
#include "support/descriptor.h"
#include "support/output_file.h"
#include "support/pending_file.h"

namespace support {

/// Where documents go: standard output, or a file that is whole or absent. Such a file is written under a
/// temporary name and gets its own in commit(); what is no regular file, a pipe say, is written as it stands.
/// No part is ever written over. Every failure raises 641002, with the reason.
class DocumentOutput final : public ByteSink {
 public:
  /// Standard output.
  DocumentOutput();

  /// The file of that name.
  explicit DocumentOutput(const std::string& name);

  /// What was written and not flushed is lost.
  ~DocumentOutput() override = default;

  /// Gathered into pieces of 64 KiB.
  void write(std::string_view bytes) override;

  void flush();

  /// Nothing follows: flushes, and gives the file its name.
  void commit();

  bool is_terminal() const { return ::isatty(descriptor()) != 0; }

  /// True when the file of that name is the one that commit() would replace.
  bool would_replace(const std::string& name) const;

 private:
  int descriptor() const { return file_.is_open() ? file_.number() : STDOUT_FILENO; }
  void open_as_it_stands(const std::string& name);
  void open_pending(const std::string& name);
  void write_through(std::string_view bytes);
  [[noreturn]] void fail(int error) const;

  std::string shown_name_;
  Descriptor file_;  ///< none for standard output
  std::unique_ptr<PendingFile> pending_;
  FileIdentity replaced_;
  bool replaces_ = false;
  std::string waiting_;
};

}  // namespace support
