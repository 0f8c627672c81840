// Values of one key as a server told them, good while the key's hive has the change number that they came under and the
// server serves. Immutable but for that number, and replaced whole.
#pragma once

#include <winerror.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "hive/cache/name_table.h"
#include "hive/cache/read_section.h"
#include "impl/client/change_view.h"
#include "impl/registry_service.h"

namespace impl::client {

inline constexpr std::size_t max_kept_value_size = 4096;     // bytes; larger ones are asked for each time
inline constexpr std::size_t max_kept_memory = 1024 * 1024;  // of one key's values
inline constexpr std::size_t max_kept_values = 16384;

// Data of up to eight bytes lies in the entry itself.
struct alignas(64) Kept_Value : hive::Named {
  std::uint32_t type = 0;
  std::uint32_t size = 0;
  union {
    unsigned char few_bytes[8] = {};
    std::uint32_t data_at;
  };
  bool has_data = false;
  bool is_missing = false;  // there is none of this name
};
static_assert(sizeof(Kept_Value) == 64);

// For whom and under which number of which hive an answer came.
struct Keeping {
  std::shared_ptr<const Change_View> view;
  const std::atomic<std::uint64_t>* shown_number = nullptr;  // in the view
  std::uint64_t number = 0;
  std::uint64_t user = 0;  // as number_of_user() has it
};

class alignas(64) Kept_Values final : public hive::Shared_Object {
 public:
  // of_all: a name that is not among them is none of the key.
  enum class Extent { of_some, of_all };

  explicit Kept_Values(Extent extent) : extent_(extent) {}

  // In any order, and then the end, before anything is asked.
  void add(std::u16string_view name, std::uint32_t type, std::uint32_t size, wire::Bytes data);
  void add_missing(std::u16string_view name);
  void finish(Keeping keeping);

  // Whether they are true now; for their user.
  bool hold() const { return is_current() && is_of_living_server(); }
  std::uint64_t user() const { return user_; }
  bool are_all() const { return extent_ == Extent::of_all; }
  // Nothing when they do not tell.
  std::optional<DWORD> answer(std::u16string_view name, Value_Room& value) const;

  // For asking whether they are still true although the number changed.
  std::uint64_t true_under() const { return true_under_.load(std::memory_order_relaxed); }
  bool is_current() const { return shown_number_->load(std::memory_order_acquire) == true_under(); }
  bool is_of_living_server() const { return view_->is_alive(); }
  const std::atomic<std::uint64_t>* shown_number() const { return shown_number_; }
  // Unless they were found so under another number meanwhile.
  void found_true_under(std::uint64_t before, std::uint64_t number) const {
    true_under_.compare_exchange_strong(before, number, std::memory_order_relaxed);
  }

  std::size_t memory() const;

 private:
  using Names = hive::Name_Table<Kept_Value>;

  // What a look-up by name touches lies together.
  const Extent extent_;
  const std::atomic<std::uint64_t>* shown_number_ = nullptr;
  mutable std::atomic<std::uint64_t> true_under_{0};
  std::uint64_t user_ = 0;
  std::shared_ptr<const Change_View> view_;
  Names::Finder finder_;

  Names names_;
  std::vector<unsigned char> data_;
};

}  // namespace impl::client
