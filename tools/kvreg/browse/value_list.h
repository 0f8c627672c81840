// The values of one key as rows, one of them selected.
#pragma once

#include <string>
#include <vector>

#include "tools/kvreg/key.h"

namespace kvreg {

class Value_List {
 public:
  // value has no more of the data than a screen could show; size is all of it, in bytes.
  struct Row {
    Value value;
    std::size_t size;
  };

  // Reads the values of a key; of the same key as before the selected one stays so where it is still there.
  void read(const Key_Path& path);

  const std::vector<Row>& rows() const { return rows_; }
  std::size_t selected() const { return selected_; }
  // Null when there are none.
  const Row* row() const { return rows_.empty() ? nullptr : &rows_[selected_]; }
  // Why there are none, when they cannot be read.
  const std::string& error() const { return error_; }

  void select(std::size_t row);
  void move(std::ptrdiff_t by);
  // False when the key has no such value.
  bool show(std::u16string_view name);

 private:
  Key_Path path_;
  std::vector<Row> rows_;
  std::size_t selected_ = 0;
  std::string error_;
};

}  // namespace kvreg
