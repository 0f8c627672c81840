// RegGetValue: a value of the types that the caller takes, text always terminated and expanded on request.
//
// The value is read whole, made ready, and then delivered, so that the size told is always the size delivered.

#include <winerror.h>

#include "registry/front_trace.h"
#include "registry/later/forms.h"
#include "registry/later/opened_key.h"
#include "registry/later/value_block.h"

inline namespace kelvane {
namespace {

constexpr DWORD type_flags = RRF_RT_ANY;
constexpr DWORD view_flags = RRF_SUBKEY_WOW6464KEY | RRF_SUBKEY_WOW6432KEY;
constexpr std::size_t usual_size = 512;

bool is_request(DWORD flags, const void* data, const DWORD* size) {
  const DWORD types = flags & type_flags;
  const bool wants_unexpanded = types != RRF_RT_ANY && (types & RRF_RT_REG_EXPAND_SZ) != 0;
  if (types == 0 || (wants_unexpanded && (flags & RRF_NOEXPAND) == 0)) return false;
  return (flags & view_flags) != view_flags && (data == nullptr || size != nullptr);
}

// The flag of a type; the types without one are taken only by those who take any.
DWORD flag_of(DWORD type) {
  switch (type) {
    case REG_NONE:
      return RRF_RT_REG_NONE;
    case REG_SZ:
      return RRF_RT_REG_SZ;
    case REG_EXPAND_SZ:
      return RRF_RT_REG_EXPAND_SZ;
    case REG_BINARY:
      return RRF_RT_REG_BINARY;
    case REG_DWORD:
      return RRF_RT_REG_DWORD;
    case REG_MULTI_SZ:
      return RRF_RT_REG_MULTI_SZ;
    case REG_QWORD:
      return RRF_RT_REG_QWORD;
    default:
      return 0;
  }
}

// The two groups "a number of 32 (64) bits, or as many bytes" also tell the size.
bool is_taken(DWORD flags, DWORD type, std::size_t size) {
  const DWORD types = flags & type_flags;
  if (types == RRF_RT_ANY) return true;
  if (types == RRF_RT_DWORD && size != sizeof(DWORD)) return false;
  if (types == RRF_RT_QWORD && size != sizeof(ULONGLONG)) return false;
  return (types & flag_of(type)) != 0;
}

template <class Form>
class Read_Value {
 public:
  using Char = typename Form::Char;

  LSTATUS read(HKEY key, const Char* name) {
    for (;;) {
      auto told = static_cast<DWORD>(block_.room());
      const LSTATUS result = Form::query(key, name, nullptr, &type, block_.data(), &told);
      size = told;
      if (result != ERROR_MORE_DATA) return result;
      block_.grow(told > block_.room() ? told : 2 * block_.room(), 0);
    }
  }

  // One terminator for text, two for a list of texts.
  void terminate() {
    const bool is_list = type == REG_MULTI_SZ;
    if (!is_list && type != REG_SZ && type != REG_EXPAND_SZ) return;
    const std::size_t wanted = is_list ? 2 : 1;
    size -= size % sizeof(Char);
    while (trailing_zeros(wanted) < wanted) append_zero();
  }

  // Text with names of environment variables becomes text with their values.
  void expand() {
    for (;;) {
      const auto* const text = reinterpret_cast<const Char*>(block_.data());
      const DWORD needed = Form::expand(text, nullptr, 0);
      Value_Block expanded(needed * sizeof(Char));
      if (Form::expand(text, reinterpret_cast<Char*>(expanded.data()), needed) != needed) continue;
      size = needed * sizeof(Char);
      block_.grow(size, 0);
      std::memcpy(block_.data(), expanded.data(), size);
      type = REG_SZ;
      return;
    }
  }

  LSTATUS deliver(void* data, DWORD* io_size) {
    if (io_size == nullptr) return ERROR_SUCCESS;
    const bool fits = data == nullptr || size <= *io_size;
    *io_size = static_cast<DWORD>(size);
    if (!fits) return ERROR_MORE_DATA;
    if (data != nullptr) std::memcpy(data, block_.data(), size);
    return ERROR_SUCCESS;
  }

  DWORD type = REG_NONE;
  std::size_t size = 0;  // bytes

 private:
  std::size_t trailing_zeros(std::size_t most) {
    std::size_t zeros = 0;
    while (zeros < most && (zeros + 1) * sizeof(Char) <= size && is_zero_at(size - (zeros + 1) * sizeof(Char))) ++zeros;
    return zeros;
  }
  bool is_zero_at(std::size_t at) {
    Char unit;
    std::memcpy(&unit, block_.data() + at, sizeof unit);
    return unit == 0;
  }
  void append_zero() {
    block_.grow(size + sizeof(Char), size);
    std::memset(block_.data() + size, 0, sizeof(Char));
    size += sizeof(Char);
  }

  Value_Block block_{usual_size};
};

template <class Form, class Char = typename Form::Char>
LSTATUS get_value(HKEY key, const Char* name, DWORD flags, DWORD* out_type, void* data, DWORD* size) {
  Read_Value<Form> value;
  const LSTATUS result = value.read(key, name);
  if (result != ERROR_SUCCESS) return result;
  value.terminate();
  if (value.type == REG_EXPAND_SZ && (flags & RRF_NOEXPAND) == 0) value.expand();
  if (!is_taken(flags, value.type, value.size)) return ERROR_UNSUPPORTED_TYPE;
  if (out_type != nullptr) *out_type = value.type;
  return value.deliver(data, size);
}

template <class Form, class Char = typename Form::Char>
LSTATUS get_value_below(HKEY key, const Char* sub_key, const Char* name, DWORD flags, DWORD* out_type, void* data,
                        DWORD* size) {
  if (!is_request(flags, data, size)) return ERROR_INVALID_PARAMETER;
  if (!names_key(sub_key)) return get_value<Form>(key, name, flags, out_type, data, size);
  Opened_Key opened;
  const DWORD view = ((flags & RRF_SUBKEY_WOW6464KEY) != 0 ? KEY_WOW64_64KEY : 0) |
                     ((flags & RRF_SUBKEY_WOW6432KEY) != 0 ? KEY_WOW64_32KEY : 0);
  const LSTATUS result = Form::open(key, sub_key, 0, KEY_QUERY_VALUE | view, opened.out());
  if (result != ERROR_SUCCESS) return result;
  return get_value<Form>(opened.get(), name, flags, out_type, data, size);
}

template <class Form, class Char = typename Form::Char>
LSTATUS get_or_clear(HKEY key, const Char* sub_key, const Char* name, DWORD flags, DWORD* out_type, void* data,
                     DWORD* size) {
  const std::size_t room = data != nullptr && size != nullptr ? *size : 0;
  const LSTATUS result = get_value_below<Form>(key, sub_key, name, flags, out_type, data, size);
  if (result != ERROR_SUCCESS && (flags & RRF_ZEROONFAILURE) != 0 && room != 0) std::memset(data, 0, room);
  return result;
}

}  // namespace
}  // namespace kelvane

LSTATUS RegGetValueA(HKEY key, LPCSTR sub_key, LPCSTR value_name, DWORD flags, LPDWORD out_type, PVOID data,
                     LPDWORD size) {
  return traced(key, [=]() KV_IN_FRONT -> LSTATUS {
    return get_or_clear<Narrow>(key, sub_key, value_name, flags, out_type, data, size);
  });
}

LSTATUS RegGetValueW(HKEY key, LPCWSTR sub_key, LPCWSTR value_name, DWORD flags, LPDWORD out_type, PVOID data,
                     LPDWORD size) {
  return traced(key, [=]() KV_IN_FRONT -> LSTATUS {
    return get_or_clear<Wide>(key, sub_key, value_name, flags, out_type, data, size);
  });
}
