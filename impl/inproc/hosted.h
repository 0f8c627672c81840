// The store of this library for the registry's server in the same process, which is of the same build.
#pragma once

#include "hive/registry.h"

extern "C" {

// Never destroyed; null without memory. machine_wide: the process serves all users, whose hive is "users" beside the
// machine's. That is settled before the first use of a hive.
__attribute__((visibility("default"))) hive::Registry* KvIHostedRegistry(int machine_wide);

}  // extern "C"
