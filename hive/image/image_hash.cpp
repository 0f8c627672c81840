// The hash that an image carries.
#include <sha2.h>
#include <sys/types.h>

#include "hive/image/image_bytes.h"

namespace hive {

static_assert(SHA256_DIGEST_LENGTH == image_hash_size);

std::array<unsigned char, image_hash_size> image_hash(std::span<const unsigned char> image) {
  constexpr std::size_t before = image_head_size - image_hash_size;
  std::array<unsigned char, image_hash_size> hash{};
  SHA2_CTX context;
  SHA256Init(&context);
  SHA256Update(&context, image.data(), before);
  SHA256Update(&context, image.data() + image_head_size, image.size() - image_head_size);
  SHA256Final(hash.data(), &context);
  return hash;
}

}  // namespace hive
