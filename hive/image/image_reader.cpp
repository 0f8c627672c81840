// Reads images. Total: any bytes give a status; nothing is read beyond them, and memory is taken only for one
// text at a time, never more than its bytes in the image.
#include <algorithm>
#include <string>

#include "hive/image/image.h"
#include "hive/image/image_bytes.h"
#include "hive/registry.h"

namespace hive {
namespace {

// A place in the bytes. Once something did not fit, everything that follows reads as nothing and good() is
// false.
class Cursor {
 public:
  explicit Cursor(std::span<const unsigned char> bytes) : rest_(bytes) {}

  bool good() const { return good_; }
  bool at_end() const { return rest_.empty(); }

  std::span<const unsigned char> take(std::uint64_t size) {
    if (!good_ || size > rest_.size()) {
      good_ = false;
      return {};
    }
    auto taken = rest_.first(size);
    rest_ = rest_.subspan(size);
    return taken;
  }

  template <class Number>
  Number number() {
    Number result = 0;
    for (unsigned char byte : take(sizeof(Number))) result = static_cast<Number>((result << 8) | byte);
    return result;
  }

  void text(std::u16string* out_text) {
    const auto units = take(2u * number<std::uint16_t>());
    out_text->clear();
    for (std::size_t i = 0; i + 1 < units.size(); i += 2) {
      out_text->push_back(static_cast<char16_t>(units[i] << 8 | units[i + 1]));
    }
  }

 private:
  std::span<const unsigned char> rest_;
  bool good_ = true;
};

Hive_Mark take_mark(Cursor& cursor) {
  Hive_Mark mark;
  std::ranges::copy(cursor.take(mark.identity.size()), mark.identity.begin());
  mark.number = cursor.number<std::uint64_t>();
  return mark;
}

// Walks the records of one tree and hands them to the visitor, without recursion.
class Tree_Reader {
 public:
  Tree_Reader(std::span<const unsigned char> tree, Tree_Visitor& visitor) : cursor_(tree), visitor_(visitor) {}

  Status run(std::uint64_t keys, std::uint64_t values) {
    do {
      if (Status status = record(); status != Status::ok) return status;
    } while (depth_ != 0);
    const bool complete = cursor_.at_end() && keys_ == keys && values_ == values;
    return complete ? Status::ok : Status::damaged;
  }

 private:
  Status record() {
    switch (cursor_.number<std::uint8_t>()) {
      case tag_key:
        return key();
      case tag_value:
        return value();
      case tag_end:
        return end();
      default:
        return Status::damaged;
    }
  }

  Status key() {
    Key_Record key;
    cursor_.text(&name_);
    cursor_.text(&class_name_);
    key.last_write_time = cursor_.number<std::uint64_t>();
    key.mode = cursor_.number<std::uint32_t>();
    key.owner = cursor_.number<std::uint32_t>();
    key.group = cursor_.number<std::uint32_t>();
    key.flags = cursor_.number<std::uint32_t>();
    if (!cursor_.good() || ++depth_ > max_image_depth || !is_key_name()) return Status::damaged;
    ++keys_;
    values_over_ = false;
    key.name = name_;
    key.class_name = class_name_;
    return visitor_.begin_key(key);
  }

  // The top has no name, every other key one that a path can carry.
  bool is_key_name() const {
    if (depth_ == 1) return name_.empty();
    return !name_.empty() && name_.size() <= max_key_name_units && name_.find(u'\\') == name_.npos &&
           name_.find(u'\0') == name_.npos;
  }

  Status value() {
    Value_Record value;
    cursor_.text(&name_);
    value.type = cursor_.number<std::uint32_t>();
    value.size = cursor_.number<std::uint32_t>();
    value.data = cursor_.take(value.size).data();
    const bool fits = name_.size() <= max_value_name_units && value.size <= max_value_size;
    if (!cursor_.good() || depth_ == 0 || values_over_ || !fits) return Status::damaged;
    ++values_;
    value.name = name_;
    return visitor_.value(value);
  }

  Status end() {
    if (depth_ == 0) return Status::damaged;
    --depth_;
    values_over_ = true;  // what follows in the key around is a key or its end
    return visitor_.end_key();
  }

  Cursor cursor_;
  Tree_Visitor& visitor_;
  std::u16string name_;
  std::u16string class_name_;
  std::size_t depth_ = 0;
  std::uint64_t keys_ = 0;
  std::uint64_t values_ = 0;
  bool values_over_ = false;
};

}  // namespace

Status read_image_prologue(std::span<const unsigned char> bytes, Image_Prologue* out_prologue) {
  Cursor cursor(bytes);
  const auto magic = cursor.take(std::min(bytes.size(), image_magic.size()));
  if (!std::equal(magic.begin(), magic.end(), image_magic.begin())) return Status::not_a_hive;
  if (bytes.size() < image_head_size) return Status::damaged;
  const auto version = cursor.number<std::uint32_t>();
  if (version > image_version) return Status::newer_version;
  if (version == 0) return Status::damaged;
  out_prologue->head.self = take_mark(cursor);
  out_prologue->head.base = take_mark(cursor);
  out_prologue->length = cursor.number<std::uint64_t>();
  out_prologue->keys = cursor.number<std::uint64_t>();
  out_prologue->values = cursor.number<std::uint64_t>();
  std::ranges::copy(cursor.take(image_hash_size), out_prologue->hash.begin());
  return Status::ok;
}

Status check_image(std::span<const unsigned char> image, Image_Prologue* out_prologue) {
  if (Status status = read_image_prologue(image, out_prologue); status != Status::ok) return status;
  if (out_prologue->length != image.size() - image_head_size) return Status::damaged;
  return image_hash(image) == out_prologue->hash ? Status::ok : Status::damaged;
}

Status read_image(std::span<const unsigned char> image, Image_Head* out_head, Tree_Visitor& visitor) {
  Image_Prologue prologue;
  if (Status status = check_image(image, &prologue); status != Status::ok) return status;
  *out_head = prologue.head;
  return Tree_Reader(image.subspan(image_head_size), visitor).run(prologue.keys, prologue.values);
}

}  // namespace hive
