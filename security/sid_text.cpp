// A SID as text for diagnostics.

#include <kelvane/security.h>

#include <cstdio>

#include "security/sid.h"
#include "security/unaligned.h"

int AdvPrintSid(PSID sid, char* out) {
  if (!IsValidSid(sid)) return 0;
  const auto* const bytes = static_cast<const BYTE*>(sid);
  // QUIRK print-sid-authority: authority bytes 2 to 5 as a signed number, low byte first, and no revision.
  const LONG authority = load<LONG>(bytes + offsetof(SID, IdentifierAuthority) + 2);
  out += std::sprintf(out, "S-%d", authority);
  for (unsigned i = 0; i < sid_count(sid); ++i) {
    out += std::sprintf(out, "-%d", load<LONG>(bytes + sid_size_of(i)));
  }
  return 1;
}
