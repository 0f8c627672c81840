// Entries for the Unix rights of keys. An empty or null sub-key is the key itself.
#include <kelvane/registry_entries.h>

#include "impl/entries/answer.h"
#include "impl/entries/win_text.h"
#include "impl/registry_service.h"

namespace {

using impl::answer;
using impl::registry_service;
using impl::Rights_Change;
using impl::Win_Text;

constexpr DWORD permission_bits = 07777;

DWORD change(HKEY key, const WinChar* sub_key, const Rights_Change& change) {
  return answer([&] { return registry_service().change_rights(key, Win_Text(sub_key).view(), change); });
}

void give(void* out, DWORD fact) {
  if (out != nullptr) *static_cast<DWORD*>(out) = fact;
}

}  // namespace

extern "C" {

DWORD KvIRegUxChmod(HKEY key, const WinChar* sub_key, DWORD mode, void*) {
  if ((mode & ~permission_bits) != 0) return ERROR_INVALID_PARAMETER;
  return change(key, sub_key, {.mode = &mode});
}

DWORD KvIRegUxChown(HKEY key, const WinChar* sub_key, DWORD owner, void*) {
  return change(key, sub_key, {.owner = &owner});
}

DWORD KvIRegUxChgrp(HKEY key, const WinChar* sub_key, DWORD group, void*) {
  return change(key, sub_key, {.group = &group});
}

// a, b and c point to unsigned numbers of 32 bits for mode, owner and group; any may be null.
DWORD KvIRegUxDescribeKey(HKEY key, const WinChar* sub_key, void* a, void* b, void* c, void*) {
  return answer([&] {
    impl::Rights_Facts facts;
    const DWORD code = registry_service().describe_rights(key, Win_Text(sub_key).view(), &facts);
    if (code != ERROR_SUCCESS) return code;
    give(a, facts.mode);
    give(b, facts.owner);
    give(c, facts.group);
    return code;
  });
}

}  // extern "C"
