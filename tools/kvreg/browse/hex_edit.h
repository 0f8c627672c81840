// Bytes under a cursor, changed by hexadecimal digits.
#pragma once

#include <string>

namespace kvreg {

class Hex_Edit {
 public:
  explicit Hex_Edit(std::string bytes) : bytes_(std::move(bytes)) {}

  const std::string& bytes() const { return bytes_; }
  // The byte under the cursor; their number when it stands behind the last one.
  std::size_t cursor() const { return cursor_; }
  // Whether the next digit is the second one of the byte.
  bool is_inside() const { return is_inside_; }

  // Takes the place of a digit; behind the last byte it begins a new one.
  void digit(int value);
  // A byte 00 before the cursor, which stands on it then.
  void insert();
  void erase_before();
  void erase_here();
  // By bytes.
  void move(std::ptrdiff_t by);
  void to_start();
  void to_end();

 private:
  std::string bytes_;
  std::size_t cursor_ = 0;
  bool is_inside_ = false;
};

}  // namespace kvreg
