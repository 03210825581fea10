#pragma once

#include <rapidjson/document.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace vault {

/// A document of a part that was parsed, and the text that its values lie in.
class PartJson {
 public:
  PartJson();
  ~PartJson();
  PartJson(const PartJson&) = delete;
  PartJson& operator=(const PartJson&) = delete;

  enum class Origin {
    own,      ///< written by this program
    foreign,  ///< may be anything
  };

  /// Takes the text of one document; false when it is none, and then why() says so.
  bool parse(std::string text_of_document, Origin origin);

  const std::string& why() const { return why_; }
  const rapidjson::Value& root() const { return *document_; }

  /// The exact bytes of the file's name.
  std::string file_name() const;
  std::string verdict() const;

 private:
  /// For the values of all but the longest documents, so that memory is not asked for with each.
  static constexpr std::size_t kPoolBytes = std::size_t{256} << 10U;

  std::string text_;
  std::string why_;
  std::vector<char> pool_ = std::vector<char>(kPoolBytes);
  std::optional<rapidjson::MemoryPoolAllocator<>> allocator_;
  std::optional<rapidjson::Document> document_;
};

}  // namespace vault
