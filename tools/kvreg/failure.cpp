#include "tools/kvreg/failure.h"

#include <winbase.h>
#include <winerror.h>

namespace kvreg {
namespace {

struct Known_Code {
  DWORD code;
  const char* symbol;
  const char* reason;
};

constexpr Known_Code known_codes[] = {
#define KV_CODE(symbol, reason) {symbol, #symbol, reason},
#include "tools/kvreg/error_codes.def"
#undef KV_CODE
};

const Known_Code* find_code(DWORD code) {
  for (const Known_Code& each : known_codes)
    if (each.code == code) return &each;
  return nullptr;
}

std::string system_message(DWORD code) {
  char text[512];
  const DWORD flags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;
  DWORD length = FormatMessageA(flags, nullptr, code, 0, text, sizeof text, nullptr);
  while (length > 0 && (text[length - 1] == ' ' || text[length - 1] == '.')) --length;
  return length > 0 ? std::string(text, length) : "no message is known";
}

}  // namespace

std::string symbol_of(DWORD code) {
  const Known_Code* const known = find_code(code);
  return known != nullptr ? known->symbol : "code " + std::to_string(code);
}

std::string describe_code(DWORD code) {
  const Known_Code* const known = find_code(code);
  if (known == nullptr) return system_message(code) + " (" + symbol_of(code) + ")";
  return std::string(known->reason) + " (" + known->symbol + ", " + std::to_string(code) + ")";
}

std::string describe(const Failure& failure) {
  std::string text;
  if (!failure.key.empty()) text += failure.key + ": ";
  if (!failure.file.empty()) text += failure.file + ": ";
  return text + describe_code(failure.code);
}

}  // namespace kvreg
