#include "inspect/sections/file_kind.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "inspect/sections/release_names.h"
#include "support/part_signature.h"
#include "support/utf8.h"

namespace inspect {

namespace {

struct Signature {
  std::size_t offset;
  std::string_view bytes;
  std::string_view kind;
};

using namespace std::string_view_literals;

constexpr Signature kSignatures[] = {
    {0, "%PDF-"sv, "PDF"},
    {0, "PK\x03\x04"sv, "ZIP"},
    {0, "PK\x05\x06"sv, "ZIP"},
    {0, "\x1F\x8B\x08"sv, "gzip"},
    {0, "BZh"sv, "bzip2"},
    {0, "\xFD\x37zXZ\0"sv, "xz"},
    {0, "\x28\xB5\x2F\xFD"sv, "zstd"},
    {0, "7z\xBC\xAF\x27\x1C"sv, "7z"},
    {0, "Rar!\x1A\x07"sv, "RAR"},
    {257, "ustar"sv, "tar"},
    {0, "\x89PNG\r\n\x1A\n"sv, "PNG"},
    {0, "\xFF\xD8\xFF"sv, "JPEG"},
    {0, "GIF8"sv, "GIF"},
    {0, "II*\0"sv, "TIFF"},
    {0, "MM\0*"sv, "TIFF"},
    {0,
     "\x7F"
     "ELF"sv,
     "ELF program"},
    {0, "MZ"sv, "Windows program"},
    {0, "SQLite format 3\0"sv, "SQLite database"},
    {0, "ISO-10303-21;"sv, "STEP"},
    {0, "Version "sv, "JT"},
    {0, "**ABCDEFGHIJKLMNOPQRSTUVWXYZ"sv, "Brepsolid transmit file"},
    {0, "\xEF\xBB\xBF<?xml"sv, "XML"},
    {0, "<?xml"sv, "XML"},
    {0, "<!DOCTYPE html"sv, "HTML"},
    {0, "<html"sv, "HTML"},
    {0, "{\\rtf"sv, "RTF"},
};

constexpr std::size_t kLongestHead = 14;  ///< bytes of the header up to its version, and those put in

std::string_view as_text(std::span<const unsigned char> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// A character at the end may be cut.
bool is_text(std::string_view text) {
  constexpr std::size_t kLongestCharacter = 4;
  while (!text.empty()) {
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < ' ' && first != '\t' && first != '\n' && first != '\r' && first != '\f') return false;
    const std::size_t length = support::first_utf8_character(text).length;
    if (length == 0) return text.size() < kLongestCharacter && first >= 0xC0;
    text.remove_prefix(length);
  }
  return true;
}

std::uint16_t word(std::span<const unsigned char> bytes, std::size_t at, bool big) {
  const unsigned first = bytes[at];
  const unsigned second = bytes[at + 1];
  return static_cast<std::uint16_t>(big ? first << 8U | second : second << 8U | first);
}

constexpr std::size_t kVersionAt = 8;  ///< behind the count word and six bytes

/// A count word of its byte order, and a version that exists.
bool is_head(std::span<const unsigned char> bytes) {
  if (bytes.size() < kVersionAt + 2) return false;
  for (const bool big : {false, true}) {
    const bool counts = std::ranges::find(support::kPartHeaderCounts, word(bytes, 0, big)) !=
                        support::kPartHeaderCounts.end();
    if (counts && is_known_release(word(bytes, kVersionAt, big))) return true;
  }
  return false;
}

using Bytes = std::span<const unsigned char>;

bool is_stripped_signature(Bytes bytes) {
  const std::string_view signature = support::kMicrosoftSignature;
  return bytes.size() >= signature.size() &&
         std::ranges::equal(bytes.first(signature.size()), signature, {}, {},
                            [](char c) { return static_cast<unsigned char>(c) & 0x7FU; });
}

/// The head without each `first` in front of a `second`: without what a copy has put there.
std::vector<unsigned char> without_first_of_pairs(Bytes head, unsigned char first, unsigned char second) {
  std::vector<unsigned char> left;
  for (std::size_t i = 0; i < head.size(); ++i) {
    if (head[i] != first || i + 1 == head.size() || head[i + 1] != second) left.push_back(head[i]);
  }
  return left;
}

std::vector<unsigned char> without_second_of_pairs(Bytes head, unsigned char first, unsigned char second) {
  std::vector<unsigned char> left;
  for (std::size_t i = 0; i < head.size(); ++i) {
    if (i == 0 || head[i] != second || head[i - 1] != first) left.push_back(head[i]);
  }
  return left;
}

}  // namespace

std::string_view file_kind(std::span<const unsigned char> bytes) {
  const std::string_view text = as_text(bytes);
  for (const Signature& signature : kSignatures) {
    if (text.size() > signature.offset && text.substr(signature.offset).starts_with(signature.bytes)) {
      return signature.kind;
    }
  }
  return is_text(text) ? "text" : "binary data";
}

bool begins_like_part_header(std::span<const unsigned char> bytes) {
  if (bytes.size() < 2) return false;
  const auto counts = [&](bool big) {
    return std::ranges::find(support::kPartHeaderCounts, word(bytes, 0, big)) !=
           support::kPartHeaderCounts.end();
  };
  return counts(false) || counts(true);
}

bool begins_like_text_copy(std::span<const unsigned char> bytes) {
  constexpr unsigned char kReturn = '\r';
  constexpr unsigned char kFeed = '\n';
  if (is_stripped_signature(bytes)) return true;
  const auto head = bytes.first(std::min(bytes.size(), kLongestHead));
  // 269 is 0D 01 or 01 0D.
  for (const std::size_t at : {std::size_t{0}, std::size_t{1}}) {
    std::vector<unsigned char> with_return(head.begin(), head.end());
    if (at > with_return.size()) continue;
    with_return.insert(with_return.begin() + static_cast<std::ptrdiff_t>(at), kReturn);
    if (is_head(with_return)) return true;
  }
  // 10 is 0A 00 or 00 0A.
  std::vector<unsigned char> exchanged(head.begin(), head.end());
  for (unsigned char& byte : exchanged) {
    if (byte == kReturn || byte == kFeed) byte = static_cast<unsigned char>(kReturn + kFeed - byte);
  }
  return is_head(without_first_of_pairs(head, kReturn, kFeed)) ||
         is_head(without_second_of_pairs(head, kReturn, kFeed)) || is_head(exchanged);
}

}  // namespace inspect
