#include "impl/client/kept_values.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace impl::client {

void Kept_Values::add(std::u16string_view name, std::uint32_t type, std::uint32_t size, wire::Bytes data) {
  Kept_Value& value = names_.add(name);
  value.type = type;
  value.size = size;
  value.has_data = data.size() == size;
  if (!value.has_data) return;
  if (size <= sizeof value.few_bytes) {
    std::copy(data.begin(), data.end(), value.few_bytes);
    return;
  }
  value.data_at = static_cast<std::uint32_t>(data_.size());
  data_.insert(data_.end(), data.begin(), data.end());
}

void Kept_Values::add_missing(std::u16string_view name) { names_.add(name).is_missing = true; }

void Kept_Values::finish(Keeping keeping) {
  view_ = std::move(keeping.view);
  shown_number_ = keeping.shown_number;
  true_under_.store(keeping.number, std::memory_order_relaxed);
  user_ = keeping.user;
  data_.shrink_to_fit();
  names_.finish();
  finder_ = names_.finder();
}

std::optional<DWORD> Kept_Values::answer(std::u16string_view name, Value_Room& value) const {
  const hive::Folded_Name folded(name);
  if (!folded.fits()) return std::nullopt;
  const Kept_Value* const found = finder_.find(folded);
  if (found == nullptr) return are_all() ? std::optional<DWORD>(ERROR_FILE_NOT_FOUND) : std::nullopt;
  if (found->is_missing) return ERROR_FILE_NOT_FOUND;
  const bool wants_data = value.data != nullptr && found->size <= value.room;
  if (wants_data && !found->has_data) return std::nullopt;
  value.type = found->type;
  value.size = found->size;
  if (value.data == nullptr) return ERROR_SUCCESS;
  if (!wants_data) return ERROR_MORE_DATA;
  const bool is_short = found->size <= sizeof found->few_bytes;
  if (found->size > 0)
    std::memcpy(value.data, is_short ? found->few_bytes : data_.data() + found->data_at, found->size);
  return ERROR_SUCCESS;
}

std::size_t Kept_Values::memory() const { return sizeof(Kept_Values) + names_.memory() + data_.capacity(); }

}  // namespace impl::client
