// A value set or deleted below a key in one call, and keys deleted by view.

#include <winerror.h>

#include "registry/front_trace.h"
#include "registry/later/forms.h"
#include "registry/later/opened_key.h"

inline namespace kelvane {
namespace {

template <class Form, class Char = typename Form::Char>
LSTATUS set_below(HKEY key, const Char* sub_key, const Char* name, DWORD type, const void* data, DWORD size) {
  const auto* const bytes = static_cast<const BYTE*>(data);
  if (!names_key(sub_key)) return Form::set(key, name, 0, type, bytes, size);
  Opened_Key created;
  const LSTATUS result =
      Form::create(key, sub_key, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_SET_VALUE, nullptr, created.out(), nullptr);
  return result != ERROR_SUCCESS ? result : Form::set(created.get(), name, 0, type, bytes, size);
}

template <class Form, class Char = typename Form::Char>
LSTATUS delete_below(HKEY key, const Char* sub_key, const Char* name) {
  if (!names_key(sub_key)) return Form::delete_value(key, name);
  Opened_Key opened;
  const LSTATUS result = Form::open(key, sub_key, 0, KEY_SET_VALUE, opened.out());
  return result != ERROR_SUCCESS ? result : Form::delete_value(opened.get(), name);
}

// There is one view, so the access mask chooses nothing.
template <class Form, class Char = typename Form::Char>
LSTATUS delete_key_of_view(HKEY key, const Char* sub_key, DWORD reserved) {
  if (sub_key == nullptr || reserved != 0) return ERROR_INVALID_PARAMETER;
  return Form::delete_key(key, sub_key);
}

}  // namespace
}  // namespace kelvane

LSTATUS RegSetKeyValueA(HKEY key, LPCSTR sub_key, LPCSTR value_name, DWORD type, LPCVOID data, DWORD size) {
  return traced(key,
                [=]() KV_IN_FRONT -> LSTATUS { return set_below<Narrow>(key, sub_key, value_name, type, data, size); });
}

LSTATUS RegSetKeyValueW(HKEY key, LPCWSTR sub_key, LPCWSTR value_name, DWORD type, LPCVOID data, DWORD size) {
  return traced(key,
                [=]() KV_IN_FRONT -> LSTATUS { return set_below<Wide>(key, sub_key, value_name, type, data, size); });
}

LSTATUS RegDeleteKeyValueA(HKEY key, LPCSTR sub_key, LPCSTR value_name) {
  return traced(key, [=]() KV_IN_FRONT -> LSTATUS { return delete_below<Narrow>(key, sub_key, value_name); });
}

LSTATUS RegDeleteKeyValueW(HKEY key, LPCWSTR sub_key, LPCWSTR value_name) {
  return traced(key, [=]() KV_IN_FRONT -> LSTATUS { return delete_below<Wide>(key, sub_key, value_name); });
}

LSTATUS RegDeleteKeyExA(HKEY key, LPCSTR sub_key, REGSAM, DWORD reserved) {
  return traced(key, [=]() KV_IN_FRONT -> LSTATUS { return delete_key_of_view<Narrow>(key, sub_key, reserved); });
}

LSTATUS RegDeleteKeyExW(HKEY key, LPCWSTR sub_key, REGSAM, DWORD reserved) {
  return traced(key, [=]() KV_IN_FRONT -> LSTATUS { return delete_key_of_view<Wide>(key, sub_key, reserved); });
}
