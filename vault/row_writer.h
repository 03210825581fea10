#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vault {

/// Fills a prepared statement value by value, from the first on, and runs it.
class RowWriter {
 public:
  explicit RowWriter(SQLite::Statement& statement) : statement_(statement) {
    statement_.reset();
    statement_.clearBindings();
  }

  RowWriter& number(std::optional<std::int64_t> value) {
    ++index_;
    if (value) statement_.bind(index_, *value);
    return *this;
  }
  RowWriter& text(std::optional<std::string_view> value) {
    ++index_;
    if (value) statement_.bind(index_, std::string(*value));
    return *this;
  }
  RowWriter& blob(std::optional<std::string_view> value) {
    ++index_;
    if (value)
      statement_.bind(index_, value->data() == nullptr ? "" : value->data(), static_cast<int>(value->size()));
    return *this;
  }

  void write() {
    statement_.exec();
    statement_.reset();
  }

 private:
  SQLite::Statement& statement_;
  int index_ = 0;
};

}  // namespace vault
