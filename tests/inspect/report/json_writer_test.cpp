#include "inspect/report/json_writer.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using inspect::JsonWriter;

class Text final : public support::ByteSink {
 public:
  void write(std::string_view bytes) override { text += bytes; }
  std::string text;
};

std::string written(std::string_view text) {
  Text out;
  JsonWriter json(out, JsonWriter::Layout::one_line);
  json.value(text);
  json.flush();
  return out.text;
}

TEST(JsonWriter, EscapesEachControlCharacterWhereverItStands) {
  for (char c = 0; c < ' '; ++c) {
    for (std::size_t at = 0; at < 48; ++at) {
      std::string text(48, 'x');
      text[at] = c;
      for (const char shown : written(text)) ASSERT_GE(shown, ' ') << int{c} << " at " << at;
    }
  }
}

}  // namespace
