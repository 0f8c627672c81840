#include "bootstrap/object_heap.h"

Sequence* kelvane::AdvApi_Global_Destructor = nullptr;
