#include "bootstrap/call_log.h"

inline namespace kelvane {

kvostream* Log_Call = nullptr;

}  // namespace kelvane
