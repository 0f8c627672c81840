// The entry points without function, all made from their list. The headers declare each of them, so that a row whose
// parameters are not the published ones does not compile.

#include <kelvane/report.h>
#include <sspi.h>
#include <winbase.h>
#include <winerror.h>
#include <winsvc.h>

#include <winternl.h>
#include <type_traits>

#define KV_SYM_32BIT_ADDRESSES
#include <dbghelp.h>

inline namespace kelvane {
namespace {

template <class Result>
Result fixed(INT_PTR value) {
  if constexpr (std::is_pointer_v<Result>) {
    return reinterpret_cast<Result>(value);
  } else {
    return static_cast<Result>(value);
  }
}

}  // namespace
}  // namespace kelvane

#define KV_STUB(category, result, value, name, parameters, text) \
  result name parameters {                                       \
    KvStub(KV_STUB_LEVEL, &category, text);                      \
    return fixed<result>(value);                                 \
  }
#include "lsa/stubs.def"
#undef KV_STUB
