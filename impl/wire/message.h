// Questions and answers in D-Bus messages.
//
//   write(message, answer)   appends a record's fields
//   read(message, &question) takes them out again; total
//
// Both answer 0, or a negative errno: -EBADMSG or -ENXIO for what cannot be read, -ENOMEM.
#pragma once

#include <cerrno>

#include "impl/wire/signature.h"

namespace impl::wire {

int write_field(sd_bus_message* message, Number field);
int write_field(sd_bus_message* message, Long_Number field);
int write_field(sd_bus_message* message, Bytes field);
int write_field(sd_bus_message* message, Numbers& field);
int write_field(sd_bus_message* message, Descriptor field);
int write_field(sd_bus_message* message, Memory field);

int read_field(sd_bus_message* message, Number* out);
int read_field(sd_bus_message* message, Long_Number* out);
int read_field(sd_bus_message* message, Bytes* out);
int read_field(sd_bus_message* message, Numbers* out);
int read_field(sd_bus_message* message, Descriptor* out);
int read_field(sd_bus_message* message, Memory* out);

template <class Record>
int write_field(sd_bus_message* message, std::vector<Record>& records);
template <class Record>
int read_field(sd_bus_message* message, std::vector<Record>* out);

template <class Record>
int write(sd_bus_message* message, Record& record) {
  int result = 0;
  std::apply([&](auto&... field) { static_cast<void>((((result = write_field(message, field)) >= 0) && ...)); },
             fields_of(record));
  return result < 0 ? result : 0;
}

template <class Record>
int read(sd_bus_message* message, Record* out) {
  int result = 0;
  std::apply([&](auto&... field) { static_cast<void>((((result = read_field(message, &field)) >= 0) && ...)); },
             fields_of(*out));
  return result < 0 ? result : 0;
}

template <class Record>
int write_field(sd_bus_message* message, std::vector<Record>& records) {
  constexpr auto& inside = fields_signature<Record>;
  static constexpr auto each = text("(") + inside + text(")");
  int result = sd_bus_message_open_container(message, 'a', each.units);
  for (std::size_t i = 0; i < records.size() && result >= 0; ++i) {
    result = sd_bus_message_open_container(message, 'r', inside.units);
    if (result >= 0) result = write(message, records[i]);
    if (result >= 0) result = sd_bus_message_close_container(message);
  }
  return result < 0 ? result : sd_bus_message_close_container(message);
}

template <class Record>
int read_field(sd_bus_message* message, std::vector<Record>* out) {
  constexpr auto& inside = fields_signature<Record>;
  static constexpr auto each = text("(") + inside + text(")");
  int result = sd_bus_message_enter_container(message, 'a', each.units);
  if (result <= 0) return result < 0 ? result : -ENXIO;
  while ((result = sd_bus_message_enter_container(message, 'r', inside.units)) > 0) {
    result = read(message, &out->emplace_back());
    if (result >= 0) result = sd_bus_message_exit_container(message);
    if (result < 0) return result;
  }
  return result < 0 ? result : sd_bus_message_exit_container(message);
}

}  // namespace impl::wire
