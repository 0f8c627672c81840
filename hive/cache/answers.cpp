#include "hive/cache/answers.h"

#include <algorithm>
#include <cstring>
#include <mutex>

#include "hive/name.h"
#include "hive/text_out.h"

namespace hive {
namespace {

constexpr std::size_t no_place = static_cast<std::size_t>(-1);

// Where the position's name stands in a list, or else the first name behind it.
template <class Entry>
std::size_t place_of(const Name_Table<Entry>& list, std::u16string_view folded, bool* out_is_there) {
  const std::string stored = stored_form(folded);
  std::size_t first = 0;
  std::size_t last = list.size();
  while (first < last) {
    const std::size_t middle = (first + last) / 2;
    if (stored_form(list.folded(list[middle])) < stored) {
      first = middle + 1;
    } else {
      last = middle;
    }
  }
  *out_is_there = first < list.size() && list.folded(list[first]) == folded;
  return first;
}

// The place in a whole list that an index means.
template <class Entry>
std::size_t place_at(const Name_Table<Entry>& list, std::int64_t seq, std::uint32_t index, const Position& position) {
  if (index == 0 || !position.is_set) return index;
  const bool near = index == position.index || index == position.index + 1 || index + 1 == position.index;
  if (!near) return index;
  bool is_there = true;
  const std::size_t here = position.seq == seq ? position.place : place_of(list, position.folded, &is_there);
  if (index == position.index) return here;
  if (index == position.index + 1) return is_there ? here + 1 : here;
  return here == 0 ? no_place : here - 1;
}

// The place in a part of a list that an index means; none when it lies outside.
std::size_t place_in_part(std::int64_t seq, std::uint32_t index, const Position& position) {
  if (position.part == nullptr || !position.is_set || position.seq != seq) return no_place;
  if (index == 0 && position.index != 0) return no_place;
  std::size_t place = no_place;
  if (index == position.index) place = position.place;
  if (index == position.index + 1) place = position.place + 1;
  if (index + 1 == position.index && position.place > 0) place = position.place - 1;
  return place < position.part->size() ? place : no_place;
}

bool deliver(const Value_Names& values, const Cached_Value& found, Value_Out& value, Status* out_status) {
  const bool wants_data = value.data != nullptr && found.size <= value.room;
  if (wants_data && !found.has_data) return false;
  *out_status = value.data == nullptr || wants_data ? Status::ok : Status::more_data;
  value.type = found.type;
  value.size = found.size;
  if (wants_data && found.size > 0) std::memcpy(value.data, values.data(found), found.size);
  return true;
}

}  // namespace

Status show_child(const Child_Names& list, const Cached_Child& child, Text_Out& name, Text_Out* class_name) {
  bool fits = put_units(list.name(child), name);
  if (class_name != nullptr) fits = put_units(list.text(child.class_at, child.class_units), *class_name) && fits;
  return fits ? Status::ok : Status::more_data;
}

std::optional<Status> answer_value(const Node& node, std::u16string_view name, Value_Out& value) {
  if (!node.knows_values()) return std::nullopt;
  const Folded_Name folded(name);
  if (!folded.fits()) return std::nullopt;
  const Cached_Value* found = node.find_value(folded);
  if (found == nullptr) return Status::not_found;
  Status status = Status::ok;
  return deliver(*node.values(), *found, value, &status) ? std::optional(status) : std::nullopt;
}

std::optional<Status> answer_value_at(const Node& node, std::uint32_t index, Position& position, Text_Out* name,
                                      Value_Out& value) {
  if (node.values() == nullptr) return std::nullopt;
  const Value_Names& list = *node.values();
  const std::lock_guard lock(position.lock);
  const std::size_t place = place_at(list, node.facts.seq, index, position);
  if (place >= list.size()) return Status::no_more_items;
  const Cached_Value& found = list[place];
  Status status = Status::ok;
  if (!deliver(list, found, value, &status)) return std::nullopt;
  const bool fits = name == nullptr || put_units(list.name(found), *name);
  position.set(index, list.folded(found), node.facts.seq, place);
  return status == Status::ok && !fits ? Status::more_data : status;
}

std::optional<Status> answer_child_at(const Node& node, std::uint32_t index, Position& position, Text_Out& name,
                                      Text_Out* class_name, std::int64_t* out_child) {
  const std::int64_t seq = node.facts.seq;
  const std::lock_guard lock(position.lock);
  const bool whole = node.children != nullptr;
  const std::size_t place =
      whole ? place_at(*node.children, seq, index, position) : place_in_part(seq, index, position);
  if (!whole && place == no_place) return std::nullopt;
  const Child_Names& list = whole ? *node.children : *position.part;
  if (place >= list.size()) return Status::no_more_items;
  const Cached_Child& child = list[place];
  position.set(index, list.folded(child), seq, place);
  *out_child = child.number;
  return show_child(list, child, name, class_name);
}

}  // namespace hive
