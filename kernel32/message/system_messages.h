// The system's messages by code.
#ifndef KELVANE_KERNEL32_MESSAGE_SYSTEM_MESSAGES_H
#define KELVANE_KERNEL32_MESSAGE_SYSTEM_MESSAGES_H

#include <windef.h>

#include <string_view>

inline namespace kelvane {

// The English text of a Win32 code, or of an HRESULT (one made from a Win32 code has that code's text), ended by
// CR LF; "" when there is none. ASCII only.
std::string_view system_message(DWORD code);

}  // namespace kelvane

#endif
