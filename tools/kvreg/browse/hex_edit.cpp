#include "tools/kvreg/browse/hex_edit.h"

#include <algorithm>

namespace kvreg {

void Hex_Edit::digit(int value) {
  if (cursor_ == bytes_.size()) bytes_.push_back('\0');
  const auto standing = static_cast<unsigned char>(bytes_[cursor_]);
  const int changed = is_inside_ ? (standing & 0xF0) | value : (standing & 0x0F) | value << 4;
  bytes_[cursor_] = static_cast<char>(changed);
  if (is_inside_) ++cursor_;
  is_inside_ = !is_inside_;
}

void Hex_Edit::insert() {
  bytes_.insert(cursor_, 1, '\0');
  is_inside_ = false;
}

void Hex_Edit::erase_before() {
  is_inside_ = false;
  if (cursor_ > 0) bytes_.erase(--cursor_, 1);
}

void Hex_Edit::erase_here() {
  is_inside_ = false;
  if (cursor_ < bytes_.size()) bytes_.erase(cursor_, 1);
}

void Hex_Edit::move(std::ptrdiff_t by) {
  is_inside_ = false;
  const auto target = static_cast<std::ptrdiff_t>(cursor_) + by;
  cursor_ = static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(target, 0, static_cast<std::ptrdiff_t>(bytes_.size())));
}

void Hex_Edit::to_start() {
  is_inside_ = false;
  cursor_ = 0;
}

void Hex_Edit::to_end() {
  is_inside_ = false;
  cursor_ = bytes_.size();
}

}  // namespace kvreg
