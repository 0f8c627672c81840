#include <kelvane/truth.h>

inline namespace kelvane {

const int True = TRUE;

}  // namespace kelvane
