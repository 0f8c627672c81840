#include "impl/wire/message.h"

namespace impl::wire {
namespace {

// What sd-bus answers when a field is missing is no error of its own.
int expected(int result) { return result == 0 ? -ENXIO : result; }

int read_basic(sd_bus_message* message, char type, void* out) {
  return expected(sd_bus_message_read_basic(message, type, out));
}

}  // namespace

int write_field(sd_bus_message* message, Number field) { return sd_bus_message_append_basic(message, 'u', &field); }

int write_field(sd_bus_message* message, Long_Number field) {
  return sd_bus_message_append_basic(message, 't', &field);
}

int write_field(sd_bus_message* message, Bytes field) {
  return sd_bus_message_append_array(message, 'y', field.data(), field.size());
}

int write_field(sd_bus_message* message, Numbers& field) {
  return sd_bus_message_append_array(message, 'u', field.data(), field.size() * sizeof(Number));
}

int write_field(sd_bus_message* message, Descriptor field) {
  return sd_bus_message_append_basic(message, 'h', &field.fd);
}

int write_field(sd_bus_message* message, Memory field) {
  return field.fd < 0 ? sd_bus_message_append(message, "ah", 0) : sd_bus_message_append(message, "ah", 1, field.fd);
}

int read_field(sd_bus_message* message, Number* out) { return read_basic(message, 'u', out); }

int read_field(sd_bus_message* message, Long_Number* out) { return read_basic(message, 't', out); }

int read_field(sd_bus_message* message, Bytes* out) {
  const void* data = nullptr;
  std::size_t size = 0;
  const int result = expected(sd_bus_message_read_array(message, 'y', &data, &size));
  if (result > 0) *out = {static_cast<const unsigned char*>(data), size};
  return result;
}

int read_field(sd_bus_message* message, Numbers* out) {
  const void* data = nullptr;
  std::size_t size = 0;
  const int result = expected(sd_bus_message_read_array(message, 'u', &data, &size));
  const auto* numbers = static_cast<const Number*>(data);
  if (result > 0) out->assign(numbers, numbers + size / sizeof(Number));
  return result;
}

int read_field(sd_bus_message* message, Descriptor* out) { return read_basic(message, 'h', &out->fd); }

int read_field(sd_bus_message* message, Memory* out) {
  int result = expected(sd_bus_message_enter_container(message, 'a', "h"));
  if (result < 0) return result;
  result = sd_bus_message_read_basic(message, 'h', &out->fd);
  if (result < 0) return result;
  return sd_bus_message_exit_container(message);  // refused when there is more than one
}

}  // namespace impl::wire
