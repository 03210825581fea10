#pragma once

#include <rapidjson/document.h>

#include <string>

namespace vault {

/// A document of a part that was parsed, and the text that its values lie in.
class PartJson {
 public:
  /// Takes the text of one document; false when it is none, and then why() says so.
  bool parse(std::string text);

  const std::string& why() const { return why_; }
  const rapidjson::Value& root() const { return document_; }

  /// The exact bytes of the file's name.
  std::string file_name() const;
  std::string verdict() const;

 private:
  std::string text_;
  std::string why_;
  rapidjson::Document document_;
};

}  // namespace vault
