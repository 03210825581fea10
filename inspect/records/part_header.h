#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace inspect {

/// What a clone operation code means is the summary's business; 0 is "none".
struct CloneInformation {
  bool present = false;
  std::uint8_t first_code = 0;   ///< low 4 bits of bytes 426-427
  std::uint8_t second_code = 0;  ///< the next 4 bits
  bool has_second = false;
};

/// The header of a part file: W 16-bit words (10, 12 or 269) behind the count word. Byte offsets in the
/// comments count from the first byte after the count. Fields of a shorter header keep their initial value.
struct PartHeader {
  std::uint16_t word_count = 0;           ///< W; 0 until the header is read
  std::array<std::uint8_t, 6> lead = {};  ///< 0-5, in file order
  std::int16_t version = 0;               ///< 6-7, V
  std::uint16_t first_history = 0;        ///< 8-9: release bits
  std::uint16_t second_history = 0;       ///< 10-11
  std::uint16_t format_word = 0;          ///< 12-13
  std::uint32_t directory_position = 0;   ///< 14-17, in bytes
  std::uint16_t directory_mode = 0;       ///< 18-19; bits 0-1 only from V 15

  // Bits 2 to 11 of the directory mode word, from V 15.
  bool no_foreign_data = false;
  bool no_components = false;
  bool components_cannot_be_added = false;
  bool grip_work_part = false;
  bool grip_root_part = false;
  bool family_template = false;
  bool family_member = false;
  bool kx_creator = false;
  bool frozen = false;
  bool wave_data = false;

  std::uint16_t stamp_days = 0;   ///< 20-21, W >= 12: first display stamp word
  std::uint16_t stamp_ticks = 0;  ///< 22-23, W >= 12: second display stamp word

  // W = 269 from here on.
  std::int32_t entity_count = 0;                    ///< 24-25; 65535 added when negative
  std::uint16_t machine_format_word = 0;            ///< 26-27
  std::uint16_t status = 0;                         ///< 28-29
  std::string description;                          ///< 30-163
  std::string customer_area;                        ///< 164-297
  std::string unique_identifier;                    ///< 302-401
  std::array<std::uint8_t, 4> transfer_check = {};  ///< 402-405
  std::int16_t units = 0;                           ///< 406-407; 0 not recorded
  std::int32_t original_codeset = 28;               ///< 408-409; 28 when negative
  std::uint16_t save_state = 0;                     ///< 420-421
  std::int32_t last_filed_codeset = 28;             ///< 428-429 minus 1; 28 when negative
  std::uint16_t template_type = 0;                  ///< 430-431
  std::array<std::uint16_t, 2> last_words = {};     ///< 454-457
  std::uint8_t save_mode = 0;                       ///< 0 none, 1 native, 2 Vaultcenter
  CloneInformation clone;

  // Flag word F1, bytes 422-423.
  bool internal_use_only = false;
  bool drawing_snapshot = false;
  bool development_use_only = false;
  bool part_module = false;

  // The three flags whose bit depends on V.
  bool student_edition = false;
  bool second_version_flag = false;
  bool third_version_flag = false;

  // Flag word F2, bytes 424-425.
  bool development = false;
  bool cloned_more_than_twice = false;
  bool product_template = false;
  bool pre_v10_layout = false;
  bool exported_4gd = false;
  bool old_concept_data = false;
  bool fast_load = false;

  // Flag word F3, bytes 442-443.
  bool precise_structure = false;
  bool intrapart_module = false;
  bool module_detail = false;  ///< bit 3 with the part-module flag; kept, not printed
  bool workset = false;
  bool from_transient = false;

  bool is_full() const { return word_count == 269; }
};

}  // namespace inspect
