#include "inspect/sections/jt_table.h"

#include <algorithm>

#include "cfi/cfi_error_codes.h"
#include "support/byte_order.h"

namespace inspect {

namespace {

constexpr std::int32_t kLastVersionWithoutPartitions = 7;
constexpr std::int32_t kWideVersion = 9;
constexpr std::size_t kPieceSize = std::size_t{512} * 1024;

}  // namespace

bool JtTable::read_head(support::ByteSource& stream) {
  stream_ = &stream;
  unsigned char head[8];
  stream.set_position(0);
  if (stream.read(head, sizeof head) != sizeof head) return false;
  version_ = support::load_little<std::int32_t>(head);
  body_count_ = support::load_little<std::uint32_t>(head + 4);
  if (version_ > kLastVersionWithoutPartitions) {
    unsigned char count[4];
    if (stream.read(count, sizeof count) != sizeof count) return false;
    body_partition_count_ = support::load_little<std::uint32_t>(count);
  }
  entry_size_ = version_ == kWideVersion ? 16 : 8;
  table_start_ = stream.position();
  return true;
}

JtTableEntry JtTable::entry(std::uint32_t number) {
  if (number < piece_first_ || number - piece_first_ >= piece_count_) load_piece(number);
  const unsigned char* bytes = piece_.data() + (number - piece_first_) * entry_size_;
  if (entry_size_ == 16) {
    return {support::load_little<std::uint64_t>(bytes), support::load_little<std::uint64_t>(bytes + 8)};
  }
  return {support::load_little<std::uint32_t>(bytes), support::load_little<std::uint32_t>(bytes + 4)};
}

void JtTable::load_piece(std::uint32_t first) {
  const std::size_t count = std::min<std::size_t>(kPieceSize / entry_size_, body_count_ - first);
  piece_.resize(count * entry_size_);
  piece_count_ = 0;
  stream_->set_position(table_start_ + std::uint64_t{first} * entry_size_);
  if (stream_->read(piece_.data(), piece_.size()) != piece_.size()) {
    throw make_error(VRX::System::CFI::kEndOfStream);
  }
  piece_first_ = first;
  piece_count_ = static_cast<std::uint32_t>(count);
}

}  // namespace inspect
