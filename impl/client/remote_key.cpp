#include "impl/client/remote_key.h"

#include "impl/client/kept_answers.h"
#include "impl/inproc/access_mask.h"

namespace impl::client {

Remote_Key::~Remote_Key() { Kept_Answers::forget(*this); }

HKEY Remote_Keys::add(std::unique_ptr<const Remote_Key> key) {
  const Sight sight{&key->kept, granted_access(key->access)};
  return Handle_Slots::add(std::move(key), sight);
}

std::u16string joined(std::u16string_view path, std::u16string_view below) {
  const std::size_t begin = below.find_first_not_of(u'\\');
  if (begin == below.npos) return std::u16string(path);
  std::u16string whole(path);
  if (!whole.empty()) whole += u'\\';
  return whole += below.substr(begin);
}

}  // namespace impl::client
