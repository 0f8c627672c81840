// Security descriptors as values of the registry, through the ordinary value calls.

#include <kelvane/security.h>
#include <kelvane/text.h>

#include <algorithm>

#include "registry/front_trace.h"
#include "security/descriptor.h"
#include "security/registry_descriptor.h"

inline namespace kelvane {
namespace {

using Wire = ddr_SECURITY_DESCRIPTOR<_SECURITY_DESCRIPTOR>;

constexpr DWORD length_difference = 20;

// What the registry is asked for when the caller offers this many bytes.
DWORD wire_length(const DWORD* length) {
  return length != nullptr && *length >= length_difference ? *length - length_difference : 0;
}

}  // namespace
}  // namespace kelvane

LSTATUS RegSetSDExA(HKEY key, LPCSTR value_name, DWORD reserved, DWORD type, PSECURITY_DESCRIPTOR descriptor,
                    DWORD length) {
  return traced(key, [=]() KV_IN_FRONT -> LSTATUS {
    if (length > wire_buffer_size) return ERROR_INVALID_PARAMETER;
    Wire wire;
    wire = descriptor;
    // QUIRK descriptor-value-length: stored with the caller's length, though it is read with 20 bytes less.
    return RegSetValueExA(key, value_name, reserved, type, wire.data(), length);
  });
}

LSTATUS RegSetSDExW(HKEY key, LPCWSTR value_name, DWORD reserved, DWORD type, PSECURITY_DESCRIPTOR descriptor,
                    DWORD length) {
  return traced(key, [=]() KV_IN_FRONT -> LSTATUS {
    return RegSetSDExA(key, KvAnsiString(value_name, -1), reserved, type, descriptor, length);
  });
}

LSTATUS RegQuerySDExA(HKEY key, LPCSTR value_name, LPDWORD reserved, LPDWORD type, PSECURITY_DESCRIPTOR descriptor,
                      LPDWORD length) {
  return traced(key, [=]() KV_IN_FRONT -> LSTATUS {
    Wire wire;
    DWORD offered = wire_length(length);
    if (descriptor != nullptr) offered = std::min(offered, wire_buffer_size);
    const LSTATUS result =
        RegQueryValueExA(key, value_name, reserved, type, descriptor != nullptr ? wire.data() : nullptr, &offered);
    if (descriptor != nullptr && result == ERROR_SUCCESS) {
      wire.copyto(descriptor, length != nullptr ? *length : descriptor_header_size);
    }
    const bool told = result == ERROR_MORE_DATA || (descriptor == nullptr && result == ERROR_SUCCESS);
    if (told && length != nullptr) *length = offered + length_difference;
    return result;
  });
}

LSTATUS RegQuerySDExW(HKEY key, LPCWSTR value_name, LPDWORD reserved, LPDWORD type, PSECURITY_DESCRIPTOR descriptor,
                      LPDWORD length) {
  return traced(key, [=]() KV_IN_FRONT -> LSTATUS {
    return RegQuerySDExA(key, KvAnsiString(value_name, -1), reserved, type, descriptor, length);
  });
}
