#include "vault/part_json.h"

#include <rapidjson/error/en.h>

#include <algorithm>
#include <utility>

#include "vault/json_fields.h"
#include "vault/part_verdict.h"

namespace vault {

namespace {

/// Documents are nested a dozen deep at most; what goes deeper is meant to use up the stack.
constexpr int kDeepest = 64;

bool is_too_deep(std::string_view json) {
  int depth = 0;
  bool in_string = false;
  for (std::size_t i = 0; i < json.size(); ++i) {
    const char letter = json[i];
    if (in_string && letter == '\\') {
      ++i;
    } else if (letter == '"') {
      in_string = !in_string;
    } else if (!in_string && (letter == '{' || letter == '[')) {
      if (++depth > kDeepest) return true;
    } else if (!in_string && (letter == '}' || letter == ']')) {
      --depth;
    }
  }
  return false;
}

}  // namespace

PartJson::PartJson() = default;
PartJson::~PartJson() = default;

bool PartJson::parse(std::string text_of_document, Origin origin) {
  text_ = std::move(text_of_document);
  document_.reset();
  allocator_.emplace(pool_.data(), pool_.size());
  document_.emplace(&*allocator_);
  if (origin == Origin::own) {
    document_->ParseInsitu(text_.data());
  } else if (text_.find('\0') != std::string::npos || is_too_deep(text_)) {
    why_ = "it is no JSON of a part";
    return false;
  } else {
    document_->ParseInsitu<rapidjson::kParseValidateEncodingFlag>(text_.data());
  }
  if (document_->HasParseError()) {
    why_ = std::string("it is no JSON: ") + rapidjson::GetParseError_En(document_->GetParseError());
  } else if (text(&*document_, "schema") != "vr-part-report/1") {
    why_ = "it is no document of the schema vr-part-report/1";
  } else if (!bytes(member(&*document_, "file"), "name") ||
             std::ranges::find(kVerdicts, verdict()) == kVerdicts.end()) {
    why_ = "it names no file or no verdict";
  } else {
    return true;
  }
  return false;
}

std::string PartJson::file_name() const { return bytes(member(&*document_, "file"), "name").value_or(""); }

std::string PartJson::verdict() const { return std::string(text(&*document_, "verdict").value_or("")); }

}  // namespace vault
