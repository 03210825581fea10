#include "inspect/records/part_header_reader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "inspect/records/inspect_errors.h"
#include "support/limits.h"
#include "support/part_signature.h"

namespace inspect {

namespace {

constexpr std::uint16_t kFullHeaderWords = 269;
constexpr std::uint16_t kStampHeaderWords = 12;
constexpr std::int16_t kEntityChainWords = 481;
constexpr std::int32_t kUnknownCodeset = 28;

// Byte offsets of the header fields, counted from behind the count word.
enum Offset : std::size_t {
  kVersion = 6,
  kHistoryWords = 8,
  kDirectoryPosition = 14,
  kDirectoryMode = 18,
  kDisplayStamp = 20,
  kEntityCount = 24,
  kMachineFormat = 26,
  kStatus = 28,
  kDescriptionLength = 30,
  kDescription = 32,
  kCustomerAreaLength = 164,
  kCustomerArea = 166,
  kUniqueIdentifier = 302,
  kTransferCheck = 402,
  kUnits = 406,
  kOriginalCodeset = 408,
  kSaveState = 420,
  kF1 = 422,
  kF2 = 424,
  kCloneCodes = 426,
  kLastFiledCodeset = 428,
  kTemplateType = 430,
  kF3 = 442,
  kLastWords = 454,
};

constexpr std::size_t kUniqueIdentifierSize = 100;
constexpr int kSignBit = 15;

/// One flag of the header: the word it stands in, its bit, and its name.
struct FlagPlace {
  Offset word;
  int bit;
  bool PartHeader::*flag;
};

constexpr FlagPlace kModeFlags[] = {
    {kDirectoryMode, 2, &PartHeader::no_foreign_data},
    {kDirectoryMode, 3, &PartHeader::no_components},
    {kDirectoryMode, 4, &PartHeader::components_cannot_be_added},
    {kDirectoryMode, 5, &PartHeader::grip_work_part},
    {kDirectoryMode, 6, &PartHeader::grip_root_part},
    {kDirectoryMode, 7, &PartHeader::family_template},
    {kDirectoryMode, 8, &PartHeader::family_member},
    {kDirectoryMode, 9, &PartHeader::kx_creator},
    {kDirectoryMode, 10, &PartHeader::frozen},
    {kDirectoryMode, 11, &PartHeader::wave_data},
};

constexpr FlagPlace kFullHeaderFlags[] = {
    {kF1, 6, &PartHeader::internal_use_only},     {kF1, 8, &PartHeader::drawing_snapshot},
    {kF1, 10, &PartHeader::development_use_only}, {kF1, kSignBit, &PartHeader::part_module},
    {kF2, 2, &PartHeader::development},           {kF2, 7, &PartHeader::cloned_more_than_twice},
    {kF2, 8, &PartHeader::product_template},      {kF2, 9, &PartHeader::pre_v10_layout},
    {kF2, 11, &PartHeader::old_concept_data},     {kF2, 12, &PartHeader::fast_load},
    {kF3, 2, &PartHeader::precise_structure},     {kF3, 4, &PartHeader::workset},
    {kF3, 5, &PartHeader::from_transient},
};

/// The words of a header as read: machine byte order, but for the runs that are kept in file order.
class HeaderWords {
 public:
  /// `count` words from a byte offset on; none for a count below 1.
  std::span<std::int16_t> run(std::size_t offset, std::int32_t count) {
    return std::span(words_).subspan(offset / 2, static_cast<std::size_t>(std::max(count, 0)));
  }
  std::int16_t signed_word(std::size_t offset) const { return words_[offset / 2]; }
  std::uint16_t word(std::size_t offset) const { return static_cast<std::uint16_t>(words_[offset / 2]); }
  bool bit(std::size_t offset, int bit) const { return (word(offset) >> bit & 1) != 0; }
  const unsigned char* bytes(std::size_t offset) const { return raw_ + offset; }

  /// Call when runs have been put back into file order and before `bytes` is used.
  void refresh_bytes() { std::memcpy(raw_, words_.data(), sizeof raw_); }

  /// Text of at most `size` bytes, cut at the first NUL.
  std::string text(std::size_t offset, std::size_t size) const {
    const auto* begin = bytes(offset);
    return {begin, std::find(begin, begin + size, '\0')};
  }

 private:
  std::array<std::int16_t, kFullHeaderWords> words_ = {};
  unsigned char raw_[kFullHeaderWords * 2] = {};
};

bool is_header_count(std::uint16_t count) {
  return std::ranges::find(support::kPartHeaderCounts, count) != support::kPartHeaderCounts.end();
}

/// The byte order follows from the count: one that is valid only when its bytes are exchanged tells that
/// the file was written on a machine of the other order.
std::uint16_t read_header_count(InspectFile& file) {
  file.reader.set_swaps_bytes(false);
  std::uint16_t count = 0;
  file.reader.read(count, "Part header count");
  if (!is_header_count(count)) {
    file.reader.set_swaps_bytes(true);
    file.reader.convert(std::span(&count, 1));
  }
  file.records.other_byte_order = file.reader.swaps_bytes();
  if (Trace* trace = file.reader.trace()) {
    trace->print("Header size: %d shorts\n", static_cast<std::int16_t>(count));
  }
  return count;
}

void check_header_count(InspectFile& file, std::uint16_t count) {
  if (is_header_count(count)) return;
  inspect_error(file.reader, Rule::header_word_count,
                "Corrupt part - part file header word count is %d but should be 10, 12, or 269\n",
                static_cast<std::int16_t>(count));
}

void take_common_fields(const HeaderWords& words, PartHeader& header) {
  std::copy_n(words.bytes(0), header.lead.size(), header.lead.begin());
  header.version = words.signed_word(kVersion);
  header.first_history = words.word(kHistoryWords);
  header.second_history = words.word(kHistoryWords + 2);
  header.format_word = words.word(kHistoryWords + 4);
  header.directory_position =
      combine_position(header.version, words.word(kDirectoryPosition), words.word(kDirectoryPosition + 2));
  const std::uint16_t mode = words.word(kDirectoryMode);
  header.directory_mode = header.version < 15 ? mode : mode & 3U;
  if (header.version >= 15) {
    for (const FlagPlace& place : kModeFlags) header.*place.flag = words.bit(place.word, place.bit);
  }
  if (header.word_count >= kStampHeaderWords) {
    header.stamp_days = words.word(kDisplayStamp);
    header.stamp_ticks = words.word(kDisplayStamp + 2);
  }
}

/// The bytes of a text of length L: L + 1, never beyond the field.
std::size_t used_bytes(std::int16_t length) {
  return static_cast<std::size_t>(std::clamp(length + 1, 0, int{limits::kHeaderTextCharacters}));
}

/// Puts the texts and the transfer-check bytes back into file order.
void restore_file_order(InspectFile& file, HeaderWords& words) {
  if (!file.reader.swaps_bytes()) return;
  const auto restore = [&](std::size_t offset, std::int32_t count) {
    file.reader.convert(words.run(offset, count));
  };
  restore(kDescription, (words.signed_word(kDescriptionLength) + 1) / 2);
  restore(kCustomerArea, (words.signed_word(kCustomerAreaLength) + 1) / 2);
  restore(kUniqueIdentifier, kUniqueIdentifierSize / 2);
  restore(kTransferCheck, 2);
}

void take_texts(InspectFile& file, HeaderWords& words, PartHeader& header) {
  const std::int16_t description = words.signed_word(kDescriptionLength);
  if (description > limits::kHeaderTextCharacters)
    inspect_error(file.reader, Rule::header_text_length, "description length too long %d", description);
  const std::int16_t customer = words.signed_word(kCustomerAreaLength);
  if (customer > limits::kHeaderTextCharacters)
    inspect_error(file.reader, Rule::header_text_length, "customer area length too long %d", customer);
  restore_file_order(file, words);
  words.refresh_bytes();
  header.description = words.text(kDescription, used_bytes(description));
  header.customer_area = words.text(kCustomerArea, used_bytes(customer));
  header.unique_identifier = words.text(kUniqueIdentifier, kUniqueIdentifierSize);
  std::copy_n(words.bytes(kTransferCheck), header.transfer_check.size(), header.transfer_check.begin());
}

void report_transfer(InspectFile& file, Rule rule, const char* what) {
  constexpr const char* kForm = "%s\n Parts should be copied using binary (not ascii) mode ftp\n";
  if (!file.steps_over_damage) inspect_error(file.reader, rule, kForm, what);
  support::Finding finding;
  finding.rule = rule;
  finding.place = file.reader.place(2 + kTransferCheck, 4);
  finding.place.field = "header.transfer_check";
  report_finding(file, std::move(finding), kForm, what);
}

/// Four bytes that a transfer as text would have changed.
void check_transfer_bytes(InspectFile& file, const PartHeader& header) {
  if (header.version < 18) return;
  const auto& check = header.transfer_check;
  if (check[0] == 0 && check[1] == 0) return;
  if (check == std::array<std::uint8_t, 4>{0x0D, 0x00, 0xFF, 0x00}) return;
  if (check[0] == 0x0D && check[1] == 0xFF) {
    return report_transfer(file, Rule::transfer_vms,
                           "*** Part file probably corrupted by ASCII ftp from VMS");
  }
  report_transfer(file, Rule::transfer_bytes, "*** Part file is corrupt (FTP bytes not as expected)");
}

void take_units(InspectFile& file, const HeaderWords& words, PartHeader& header) {
  header.units = words.signed_word(kUnits);
  if (header.units == 0) return;
  if (!is_part_units(header.units)) {
    inspect_error(file.reader, Rule::header_units, "Found invalid units of %d in part header\n",
                  header.units);
  }
  file.records.units = header.units;
  file.records.has_markers = true;
}

/// The bit of a flag moved twice before it came to rest.
void take_version_flags(const HeaderWords& words, PartHeader& header) {
  const std::int16_t version = header.version;
  if (version >= 46 && version <= 49) header.student_edition = words.bit(kF1, 9);
  if (version == 50) header.student_edition = words.bit(kF1, kSignBit);
  if (version >= 51) header.student_edition = words.bit(kF3, 0);
  header.second_version_flag = version == 50 && words.bit(kF1, 9);
  header.third_version_flag = version == 51 && words.bit(kF1, kSignBit);
}

void take_flags(const HeaderWords& words, PartHeader& header) {
  for (const FlagPlace& place : kFullHeaderFlags) header.*place.flag = words.bit(place.word, place.bit);
  header.intrapart_module = header.part_module && words.bit(kF3, 1);
  header.module_detail = header.part_module && words.bit(kF3, 3);
  header.exported_4gd = header.version >= 53 && words.bit(kF2, 10);
  take_version_flags(words, header);
}

void take_save_mode(InspectFile& file, const HeaderWords& words, PartHeader& header) {
  const bool native = words.bit(kF2, 3);
  const bool vault = words.bit(kF2, 4);
  header.save_mode = native ? 1 : vault ? 2 : 0;
  if (native && vault) {
    inspect_warning(file.reader, Rule::header_save_mode, "part contains inconsistent save mode bits");
  }
}

void take_clone_codes(InspectFile& file, const HeaderWords& words, PartHeader& header) {
  CloneInformation& clone = header.clone;
  clone.present = words.bit(kF2, 5);
  if (!clone.present) return;
  clone.has_second = words.bit(kF2, 6);
  clone.first_code = words.word(kCloneCodes) & 0xFU;
  clone.second_code = words.word(kCloneCodes) >> 4U & 0xFU;
  if (clone.first_code == 0) {
    inspect_warning(file.reader, Rule::header_clone_code, "part does not contain valid clone operation code");
  }
  if (clone.has_second && clone.second_code == 0) {
    inspect_warning(file.reader, Rule::header_clone_code,
                    "part does not contain valid clone operation codes");
  }
}

void take_codesets(const HeaderWords& words, PartHeader& header) {
  const auto known = [](std::int32_t codeset) { return codeset < 0 ? kUnknownCodeset : codeset; };
  header.original_codeset = known(words.signed_word(kOriginalCodeset));
  header.last_filed_codeset = known(words.signed_word(kLastFiledCodeset) - 1);
}

void take_full_fields(InspectFile& file, HeaderWords& words, PartHeader& header) {
  const std::int16_t entities = words.signed_word(kEntityCount);
  header.entity_count = entities < 0 ? entities + 65535 : entities;
  header.machine_format_word = words.word(kMachineFormat);
  header.status = words.word(kStatus);
  take_texts(file, words, header);
  check_transfer_bytes(file, header);
  take_units(file, words, header);
  take_codesets(words, header);
  header.save_state = words.word(kSaveState);
  header.template_type = words.word(kTemplateType);
  header.last_words = {words.word(kLastWords), words.word(kLastWords + 2)};
  take_flags(words, header);
  take_save_mode(file, words, header);
  take_clone_codes(file, words, header);
}

void read_header_words(InspectFile& file, std::uint16_t count) {
  PartHeader& header = file.records.header;
  header.word_count = count;
  HeaderWords words;
  const auto all = words.run(0, count);
  file.reader.read(all, "Part header");
  if (file.reader.swaps_bytes()) file.reader.convert(all.first(3));
  trace_words(file.reader, all);
  words.refresh_bytes();
  take_common_fields(words, header);
  file.records.version = header.version;
  if (header.is_full()) take_full_fields(file, words, header);
}

/// Reads the header from the copy of the container; the stream is left behind the damaged original.
void read_header_copy(InspectFile& file, std::span<const std::byte> copy) {
  support::MemorySource source(copy);
  {
    const RecordReader::OtherSource other(file.reader, source);
    const std::uint16_t count = read_header_count(file);
    check_header_count(file, count);
    read_header_words(file, count);
  }
  file.reader.move_to(2 + 2 * std::uint64_t{file.records.header.word_count});
}

void read_entity_chain_header(InspectFile& file) {
  std::int16_t count = 0;
  file.reader.read(count, "Entity chain count");
  if (count != kEntityChainWords) {
    inspect_error(file.reader, Rule::chains_header, " Count in Entity Chain Header is %d but should be 481\n",
                  count);
  }
  file.records.entity_chain_words.resize(kEntityChainWords);
  file.reader.read(std::span(file.records.entity_chain_words), "Entity type chain");
  if (Trace* trace = file.reader.trace()) trace->print("Entity type chain header size %d shorts\n", count);
  trace_words(file.reader, file.records.entity_chain_words);
  if (file.records.entity_chain_words[0] != 1) {
    inspect_error(file.reader, Rule::chains_header, "Found chain identifier of %d instead of 1\n",
                  file.records.entity_chain_words[0]);
  }
}

}  // namespace

void print_header_words(Trace& trace, std::span<const std::int16_t> words) {
  for (std::size_t i = 0; i < words.size(); ++i) {
    trace.print("%6d ", words[i]);
    if ((i + 1) % 10 == 0) trace.write("\n");
  }
  if (words.size() % 10 != 0) trace.write("\n");
}

void trace_words(const RecordReader& reader, std::span<const std::int16_t> words) {
  if (Trace* trace = reader.trace()) print_header_words(*trace, words);
}

void read_part_header(InspectFile& file, std::span<const std::byte> header_copy) {
  const std::uint16_t count = read_header_count(file);
  if (!is_header_count(count) && !header_copy.empty()) {
    read_header_copy(file, header_copy);
  } else {
    check_header_count(file, count);
    read_header_words(file, count);
  }
  if (file.records.header.version < 15) read_entity_chain_header(file);
}

}  // namespace inspect
