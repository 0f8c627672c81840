// Facts about a hive as a whole, by name:
//   identity    16 random bytes, given when the hive was made
//   next_id     first number of the next block of ids
//   number      of the last change; raised only by the first change after an image was made
//   imaged      1 while an image of this very state was made, or nothing was ever changed
//   base, base_number   the identity and number of what the hive was last imported from
//   import_number   the number that the hive had when it was imported over what it held before
//   boot        of which run of the machine volatile keys were last looked after
//   fresh       1 until what a new hive starts with was put into it
//   watchers    how many processes watch keys; missing in a hive that nobody ever watched
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "hive/store/connection.h"
#include "hive/tree.h"

namespace hive {

std::int64_t meta_number(Connection& connection, std::string_view name);  // 0 when missing
std::string meta_text(Connection& connection, std::string_view name);
Status set_meta(Connection& connection, std::string_view name, std::int64_t number);
Status set_meta(Connection& connection, std::string_view name, std::string_view text);
Status set_meta_data(Connection& connection, std::string_view name, const void* data, std::size_t size);

// What an image of the hive, as it is now, is headed with.
Image_Head image_head(Connection& connection);
// Notes that an image of this state was made, and that the state is no longer that of an image: the number is
// raised by the first change after one.
Status note_image(Connection& connection);
Status count_change(Connection& connection);
Status set_base(Connection& connection, const Hive_Mark& base);
// Notes that what the hive held was replaced by what the base holds: a change that calls for no image yet.
Status note_import(Connection& connection, const Hive_Mark& base);
// Whether anything was changed since, or ever if it was not imported so.
bool changed_since_import(Connection& connection);

}  // namespace hive
