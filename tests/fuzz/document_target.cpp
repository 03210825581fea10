#include <rapidjson/document.h>

#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>

#include "inspect/part_report.h"
#include "tests/fuzz/fuzz_targets.h"
#include "tests/support/memory_file.h"

namespace fuzz {

namespace {

class Text final : public support::ByteSink {
 public:
  void write(std::string_view bytes) override { text += bytes; }

  std::string text;
};

void require(bool holds) {
  if (!holds) std::abort();
}

/// One owner for each byte, and sums that say the same.
void check_bytes(const rapidjson::Value& bytes, std::uint64_t size) {
  std::map<std::string_view, std::uint64_t> sums;
  std::uint64_t at = 0;
  for (const rapidjson::Value& range : bytes["map"].GetArray()) {
    require(range["offset"].GetUint64() == at);
    require(range["length"].GetUint64() != 0);
    at += range["length"].GetUint64();
    sums[range["protection"].GetString()] += range["length"].GetUint64();
  }
  require(at == size && bytes["total"].GetUint64() == size);
  for (const auto& member : bytes["by_protection"].GetObject()) {
    require(sums[member.name.GetString()] == member.value.GetUint64());
  }
}

}  // namespace

void run_document(std::string_view input) {
  const test_support::MemoryFile file(input);
  Text written;
  const inspect::PartOutcome outcome = inspect::write_part_report(file.name(), {}, written);
  rapidjson::Document document;
  document.Parse<rapidjson::kParseValidateEncodingFlag>(written.text.data(), written.text.size());
  require(!document.HasParseError() && document.IsObject());
  const std::string_view verdict = document["verdict"].GetString();
  require((outcome == inspect::PartOutcome::sound) == (verdict == "sound"));
  require(document.HasMember("bytes") || verdict == "unreadable");
  if (document.HasMember("bytes")) check_bytes(document["bytes"], input.size());
}

}  // namespace fuzz
