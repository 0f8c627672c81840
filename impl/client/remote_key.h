// What a handle of this process stands for: a key of the server, found again by root, path and id when the session in
// which it was opened is gone.
#pragma once

#include <windef.h>

#include <memory>
#include <string>
#include <vector>

#include "impl/client/session.h"
#include "impl/handle_slots.h"
#include "impl/wire/fields.h"

namespace impl::client {

using Key_Id = std::vector<unsigned char>;

struct Remote_Key final : hive::Shared_Object {
  Remote_Key(wire::Number its_root, std::u16string its_path, Key_Id its_id, DWORD its_access)
      : root(its_root), path(std::move(its_path)), id(std::move(its_id)), access(its_access) {}

  const wire::Number root;
  const std::u16string path;  // from the root
  const Key_Id id;
  const DWORD access;  // as it was asked for

  // Where it is open; with the client's lock.
  mutable std::shared_ptr<Session> session;
  mutable wire::Number handle = 0;
};

class Remote_Keys : public Handle_Slots {
 public:
  class Pin : public Handle_Slots::Pin {
   public:
    using Handle_Slots::Pin::Pin;
    const Remote_Key& key() const { return static_cast<const Remote_Key&>(held()); }
  };
};

// A path below another one.
std::u16string joined(std::u16string_view path, std::u16string_view below);

}  // namespace impl::client
