#include "impl/client/remote_key.h"

namespace impl::client {

std::u16string joined(std::u16string_view path, std::u16string_view below) {
  const std::size_t begin = below.find_first_not_of(u'\\');
  if (begin == below.npos) return std::u16string(path);
  std::u16string whole(path);
  if (!whole.empty()) whole += u'\\';
  return whole += below.substr(begin);
}

}  // namespace impl::client
