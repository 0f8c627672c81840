// Atomic arithmetic on the caller's own variables, each a full barrier.
#include <winbase.h>

LONG InterlockedIncrement(LONG volatile* value) { return __atomic_add_fetch(value, 1, __ATOMIC_SEQ_CST); }

LONG InterlockedDecrement(LONG volatile* value) { return __atomic_sub_fetch(value, 1, __ATOMIC_SEQ_CST); }

LONG InterlockedExchange(LONG volatile* target, LONG value) {
  return __atomic_exchange_n(target, value, __ATOMIC_SEQ_CST);
}

LONG InterlockedExchangeAdd(LONG volatile* target, LONG value) {
  return __atomic_fetch_add(target, value, __ATOMIC_SEQ_CST);
}

LONG InterlockedCompareExchange(LONG volatile* target, LONG value, LONG expected) {
  __atomic_compare_exchange_n(target, &expected, value, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
  return expected;
}

LONG InterlockedAnd(LONG volatile* target, LONG bits) { return __atomic_fetch_and(target, bits, __ATOMIC_SEQ_CST); }

LONG InterlockedOr(LONG volatile* target, LONG bits) { return __atomic_fetch_or(target, bits, __ATOMIC_SEQ_CST); }

LONG InterlockedXor(LONG volatile* target, LONG bits) { return __atomic_fetch_xor(target, bits, __ATOMIC_SEQ_CST); }

LONG64 InterlockedIncrement64(LONG64 volatile* value) { return __atomic_add_fetch(value, 1, __ATOMIC_SEQ_CST); }

LONG64 InterlockedDecrement64(LONG64 volatile* value) { return __atomic_sub_fetch(value, 1, __ATOMIC_SEQ_CST); }

LONG64 InterlockedExchange64(LONG64 volatile* target, LONG64 value) {
  return __atomic_exchange_n(target, value, __ATOMIC_SEQ_CST);
}

LONG64 InterlockedExchangeAdd64(LONG64 volatile* target, LONG64 value) {
  return __atomic_fetch_add(target, value, __ATOMIC_SEQ_CST);
}

LONG64 InterlockedCompareExchange64(LONG64 volatile* target, LONG64 value, LONG64 expected) {
  __atomic_compare_exchange_n(target, &expected, value, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
  return expected;
}

PVOID InterlockedExchangePointer(PVOID volatile* target, PVOID value) {
  return __atomic_exchange_n(target, value, __ATOMIC_SEQ_CST);
}

PVOID InterlockedCompareExchangePointer(PVOID volatile* target, PVOID value, PVOID expected) {
  __atomic_compare_exchange_n(target, &expected, value, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
  return expected;
}
