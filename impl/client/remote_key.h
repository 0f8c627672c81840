// What a handle of this process stands for: a key of the server, found again by root, path and id when the session in
// which it was opened is gone.
#pragma once

#include <windef.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "impl/client/session.h"
#include "impl/handle_slots.h"
#include "impl/wire/fields.h"

namespace impl::client {

using Key_Id = std::vector<unsigned char>;

class Kept_Answers;
class Kept_Values;
struct Remote_Key;

// What is kept of a key, and the keys before and behind it of which something is. But for `values` with the client's
// lock.
struct Kept_Place {
  std::atomic<const Kept_Values*> values{nullptr};
  std::atomic<bool> are_too_many{false};  // to be kept all
  Kept_Answers* answers = nullptr;        // who keeps them; null: nothing is kept
  HKEY handle = nullptr;
  const Remote_Key* before = nullptr;
  const Remote_Key* behind = nullptr;
};

struct Remote_Key final : hive::Shared_Object {
  Remote_Key(wire::Number its_root, std::u16string its_path, Key_Id its_id, DWORD its_access)
      : root(its_root), path(std::move(its_path)), id(std::move(its_id)), access(its_access) {}
  ~Remote_Key() override;

  const wire::Number root;
  const std::u16string path;  // from the root
  const Key_Id id;
  const DWORD access;  // as it was asked for

  // Where it is open; with the client's lock.
  mutable std::shared_ptr<Session> session;
  mutable wire::Number handle = 0;

  mutable Kept_Place kept;
};

class Remote_Keys : public Handle_Slots {
 public:
  class Pin : public Handle_Slots::Pin {
   public:
    using Handle_Slots::Pin::Pin;
    const Remote_Key& key() const { return static_cast<const Remote_Key&>(held()); }
  };

  class Glance : public Handle_Slots::Glance {
   public:
    using Handle_Slots::Glance::Glance;
    const Kept_Place& kept() const { return *static_cast<const Kept_Place*>(sight().shown); }
    DWORD access() const { return sight().access; }
  };

  // A new handle; null when a million are open.
  HKEY add(std::unique_ptr<const Remote_Key> key);
};

// A path below another one.
std::u16string joined(std::u16string_view path, std::u16string_view below);

}  // namespace impl::client
