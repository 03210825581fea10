// Writes a page of documents to standard output, for the test that opens it in a browser. The documents are
// handed over in small pieces of changing sizes, so that whatever is escaped is split somewhere.
//
//   vrii_make_page FILE.json...

#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <string_view>

#include "inspect/report/part_page.h"

namespace {

class StandardOutput final : public support::ByteSink {
 public:
  void write(std::string_view bytes) override {
    std::cout.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
};

}  // namespace

int main(int argc, char** argv) {
  StandardOutput out;
  inspect::PartPage page(out);
  for (int at = 1; at < argc; ++at) {
    std::ifstream file(argv[at], std::ios::binary);
    const std::string document((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    support::ByteSink& sink = page.next_document();
    for (std::size_t from = 0, length = 1; from < document.size(); from += length, length = length % 7 + 1) {
      sink.write(std::string_view(document).substr(from, length));
    }
  }
  page.end();
  return std::cout.flush() ? 0 : 1;
}
