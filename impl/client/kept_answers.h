// What the server has told of keys, for their handles: asked from memory alone while the server's page says that it is
// still true.
//
// An answer is kept for the handle that asked, with the rights that the handle was given; the next one takes its place.
// All together have a budget: what was kept first goes first. Asking takes no lock; the rest takes the client's.
#pragma once

#include <optional>
#include <vector>

#include "impl/client/kept_values.h"
#include "impl/client/own_user.h"
#include "impl/client/remote_key.h"

namespace impl::client {

class Kept_Answers {
 public:
  static constexpr std::size_t usual_budget = 16u * 1024 * 1024;  // bytes

  explicit Kept_Answers(std::size_t budget = usual_budget) : budget_(budget) {}
  Kept_Answers(const Kept_Answers&) = delete;
  Kept_Answers& operator=(const Kept_Answers&) = delete;

  // Nothing when memory cannot tell, or the handle is none that may read values.
  std::optional<DWORD> known_value(const Remote_Keys& keys, HKEY handle, std::u16string_view name,
                                   Value_Room& value) const {
    const Remote_Keys::Glance glance(keys, handle);
    if (!glance || (glance.access() & KEY_QUERY_VALUE) == 0) return std::nullopt;
    const Kept_Values* const kept = glance.kept().values.load(std::memory_order_acquire);
    if (kept == nullptr || !kept->hold() || !own_user_.is_still(kept->user())) return std::nullopt;
    return kept->answer(name, value);
  }

  // How much memory knows of a key.
  enum class Knowledge { none, some, all, in_doubt };
  static Knowledge knowledge_of(const Remote_Key& key);

  // In the place of what is kept of the key, unless that is more.
  void keep(HKEY handle, const Remote_Key& key, std::unique_ptr<Kept_Values> values);

  // Something kept under a number that its hive no longer has.
  struct Doubt {
    HKEY key;
    wire::Number number;  // of the key in the session
    const Kept_Values* values;
    std::uint64_t true_under;
  };
  // That of a key first, then of others of the same hive that are open in the same session, as many as one question
  // carries well.
  std::vector<Doubt> doubts_beside(const Remote_Key& key, std::shared_ptr<Session>* out_session) const;
  // What did not change is true under the number.
  static void settle(const Remote_Keys& keys, const std::vector<Doubt>& doubts, const std::vector<bool>& changed,
                     std::uint64_t number);

  // The key goes.
  static void forget(const Remote_Key& key);

 private:
  using Gone = std::vector<std::unique_ptr<const Kept_Values>>;

  // With the client's lock.
  void put(HKEY handle, const Remote_Key& key, std::unique_ptr<const Kept_Values> values, Gone& out_gone);
  std::unique_ptr<const Kept_Values> take_out(const Remote_Key& key);
  void insert(const Remote_Key& key);
  void remove(const Remote_Key& key);

  const std::size_t budget_;
  Own_User own_user_;
  const Remote_Key* first_ = nullptr;  // of a ring
  std::size_t memory_ = 0;
};

}  // namespace impl::client
