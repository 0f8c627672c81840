/* The truth value as a data object, for callers that hand it on. */
#ifndef KELVANE_TRUTH_H
#define KELVANE_TRUTH_H

#include <windef.h>

/* A header of another library may have taken the name. */
#undef True

inline namespace kelvane {

/* TRUE. */
extern KV_EXPORT const int True;

}  // namespace kelvane

#endif
