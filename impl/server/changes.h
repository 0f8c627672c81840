// The change numbers of the hives that are served, and which keys the last changes were of.
//
// A change is announced before it is made (will_change, will_change_below, or an All), which makes the number odd, and
// is over with publish(), or the end of the All, which makes it even again: the writer is answered behind that. A read
// asks for the number before it reads.
//
// Somebody else may write a hive's file, too. That is seen when the hive is read next or looked at by look_around(),
// and counts as a change of all keys.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <unordered_set>
#include <vector>

#include "hive/open_key.h"
#include "hive/registry.h"
#include "impl/server/change_memory.h"

namespace impl::server {

class Changes {
 public:
  explicit Changes(hive::Registry& registry) : registry_(registry) {}
  Changes(const Changes&) = delete;
  Changes& operator=(const Changes&) = delete;

  // On the server's thread, where this is destroyed as well. Where there can be no page nothing is counted.
  void open() { memory_.open(); }
  // The page for clients; -1: there is none.
  int page_fd() const { return memory_.fd(); }

  // On the server's thread: what the key holds will be another.
  void will_change(const hive::Key& key);
  // The same for what has no name to it, as keys that are made below it; of no key's values.
  void will_change_below(const hive::Key& key);
  // What was announced is done, or was not done at all.
  void publish();

  // On any thread: everything may change while it lives.
  class All {
   public:
    explicit All(Changes& changes) : changes_(changes) { changes_.begin_all(); }
    ~All() { changes_.end_all(); }
    All(const All&) = delete;
    All& operator=(const All&) = delete;

   private:
    Changes& changes_;
  };

  // On the server's thread, before the key is read: under which number the answer may be kept. 0: under none.
  std::uint64_t number_for(const hive::Key& key);
  // Whether a hive was written by somebody else.
  void look_around();

  // Which keys changed since a number of one hive.
  class Since {
   public:
    // Of a key of this hive; of any other one it is said that it may have.
    bool may_have_changed(const hive::Key& key) const;
    // The number until which this is true; 0: each key may have changed.
    std::uint64_t number() const { return number_; }

   private:
    friend class Changes;

    const hive::Hive* hive_ = nullptr;
    hive::Hive_Identity identity_{};
    std::uint64_t number_ = 0;
    std::unordered_set<std::int64_t> keys_;
  };
  Since since(const hive::Key& key, std::uint64_t number);

 private:
  static constexpr std::size_t most_noted = 2048;  // changes of one hive

  struct Change {
    std::uint64_t number;  // the even one behind it
    std::int64_t key;
  };

  struct Counted_Hive {
    std::shared_ptr<hive::Hive> hive;
    hive::Hive_Identity identity{};
    wire::Hive_Changes* shown = nullptr;
    hive::Key own;            // a key of this hive that no client has
    std::uint64_t state = 0;  // of what the store has in memory, when it was last looked at
    bool is_announced = false;
    std::deque<Change> noted;        // oldest first
    std::uint64_t forgotten_to = 0;  // changes up to this number are not noted
  };

  Counted_Hive* find(const hive::Key& key);
  Counted_Hive* find_or_add(const hive::Key& key);
  Counted_Hive* add(const hive::Key& key);
  void announce(Counted_Hive& counted);
  void announce_for(const hive::Key& key, bool is_of_its_own);
  void note(Counted_Hive& counted, std::int64_t key);
  void note_all(Counted_Hive& counted);
  void settle(Counted_Hive& counted);
  void look_at(Counted_Hive& counted);
  std::uint64_t state_of(const Counted_Hive& counted);
  void begin_all();
  void end_all();

  hive::Registry& registry_;
  Change_Memory memory_;
  std::mutex mutex_;                                  // of the numbers and what is noted; a leaf
  std::vector<std::unique_ptr<Counted_Hive>> hives_;  // grows on the server's thread, with the mutex
  std::size_t all_under_way_ = 0;
  bool is_any_announced_ = false;  // the server's thread's alone
};

}  // namespace impl::server
