// The library's heap of bones.
#pragma once

#include <kelvane/container.h>

inline namespace kelvane {

// Owns every object that is made with "new (AdvApi_Global_Destructor)" until KvDestroyAdvapi32. Null before start-up
// and after shutdown.
extern Sequence* AdvApi_Global_Destructor;

}  // namespace kelvane
