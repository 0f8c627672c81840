// Feeds any bytes to the reader of images, as they stand and as a tree under a right hash.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "hive/image/image.h"
#include "hive/image/image_bytes.h"

namespace {

// Touches every byte that it is shown.
class Toucher : public hive::Tree_Visitor {
 public:
  hive::Status begin_key(const hive::Key_Record& key) override {
    sum_ = sum_ + (key.name.size() + key.class_name.size() + key.mode);
    return hive::Status::ok;
  }
  hive::Status value(const hive::Value_Record& value) override {
    sum_ = sum_ + value.name.size();
    for (std::uint32_t i = 0; i < value.size; ++i) sum_ = sum_ + value.data[i];
    return hive::Status::ok;
  }
  hive::Status end_key() override { return hive::Status::ok; }

 private:
  volatile std::size_t sum_ = 0;
};

void read(std::span<const unsigned char> image) {
  Toucher toucher;
  hive::Image_Head head;
  hive::read_image(image, &head, toucher);
}

void put_u64(unsigned char* at, std::uint64_t number) {
  for (int i = 7; i >= 0; --i, number >>= 8) at[i] = static_cast<unsigned char>(number);
}

// The first two bytes are the counts; the rest is the tree.
std::vector<unsigned char> as_tree(std::span<const unsigned char> bytes) {
  hive::Image_Writer empty;
  std::vector<unsigned char> image = empty.finish({});
  image.insert(image.end(), bytes.begin() + 2, bytes.end());
  put_u64(&image[60], bytes.size() - 2);
  put_u64(&image[68], bytes[0]);
  put_u64(&image[76], bytes[1]);
  const auto hash = hive::image_hash(image);
  std::copy(hash.begin(), hash.end(), image.begin() + (hive::image_head_size - hive::image_hash_size));
  return image;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  read({data, size});
  if (size >= 2) read(as_tree({data, size}));
  return 0;
}
