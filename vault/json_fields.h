#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// What a document says, whatever it says: a member that is missing, or of another type, is none.
namespace vault {

using Json = rapidjson::Value;

/// Null when there is no such member, or `of` is no object.
const Json* member(const Json* of, const char* name);

/// The same for arrays and their elements; empty for anything else.
Json::ConstArray elements(const Json* of, const char* name);

std::optional<std::string_view> text(const Json* of, const char* name);

/// The exact bytes of a text: those of the member `name`_base64 when there is one.
std::optional<std::string> bytes(const Json* of, const std::string& name);

/// Numbers that SQLite cannot hold become the largest that it can. True and false are 1 and 0.
std::optional<std::int64_t> number(const Json* of, const char* name);

/// Seconds since 1970 of a time as "2026-05-25T06:52:06Z".
std::optional<std::int64_t> time(const Json* of, const char* name);
std::optional<std::int64_t> parse_time(std::string_view text);

/// A value of any type as JSON; none for null.
std::optional<std::string> json_text(const Json* of, const char* name);

}  // namespace vault
