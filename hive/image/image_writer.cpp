// Makes the bytes of an image. The prologue's room stands first and is filled in when the tree is complete.
#include "hive/image/image.h"

#include <algorithm>

#include "hive/image/image_bytes.h"
#include "hive/registry.h"

namespace hive {

Image_Writer::Image_Writer() : bytes_(image_head_size) {}

Status Image_Writer::put_text(std::u16string_view text) {
  if (text.size() > max_text_units) return Status::too_large;
  put_number<std::uint16_t>(bytes_, static_cast<std::uint16_t>(text.size()));
  for (char16_t unit : text) put_number<std::uint16_t>(bytes_, unit);
  return Status::ok;
}

Status Image_Writer::begin_key(const Key_Record& key) {
  if (++depth_ > max_image_depth) return Status::too_large;
  ++keys_;
  bytes_.push_back(tag_key);
  if (Status status = put_text(depth_ == 1 ? std::u16string_view() : key.name); status != Status::ok) return status;
  if (Status status = put_text(key.class_name); status != Status::ok) return status;
  put_number(bytes_, key.last_write_time);
  put_number(bytes_, key.mode);
  put_number(bytes_, key.owner);
  put_number(bytes_, key.group);
  put_number(bytes_, key.flags);
  return Status::ok;
}

Status Image_Writer::value(const Value_Record& value) {
  if (value.size > max_value_size) return Status::too_large;
  ++values_;
  bytes_.push_back(tag_value);
  if (Status status = put_text(value.name); status != Status::ok) return status;
  put_number(bytes_, value.type);
  put_number(bytes_, value.size);
  if (value.size != 0) bytes_.insert(bytes_.end(), value.data, value.data + value.size);
  return Status::ok;
}

Status Image_Writer::end_key() {
  --depth_;
  bytes_.push_back(tag_end);
  return Status::ok;
}

std::vector<unsigned char> Image_Writer::finish(const Image_Head& head) {
  std::vector<unsigned char> prologue;
  prologue.reserve(image_head_size);
  prologue.insert(prologue.end(), image_magic.begin(), image_magic.end());
  put_number(prologue, image_version);
  for (const Hive_Mark* mark : {&head.self, &head.base}) {
    prologue.insert(prologue.end(), mark->identity.begin(), mark->identity.end());
    put_number(prologue, mark->number);
  }
  put_number<std::uint64_t>(prologue, bytes_.size() - image_head_size);
  put_number(prologue, keys_);
  put_number(prologue, values_);
  std::copy(prologue.begin(), prologue.end(), bytes_.begin());
  const auto hash = image_hash(bytes_);
  std::copy(hash.begin(), hash.end(), bytes_.begin() + (image_head_size - image_hash_size));
  keys_ = values_ = 0;
  depth_ = 0;
  std::vector<unsigned char> image(image_head_size);
  image.swap(bytes_);
  return image;
}

}  // namespace hive
