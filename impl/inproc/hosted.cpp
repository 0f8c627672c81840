#include "impl/inproc/hosted.h"

#include <new>

#include "impl/inproc/inproc_service.h"
#include "impl/inproc/process_locations.h"

extern "C" hive::Registry* KvIHostedRegistry(int machine_wide) {
  if (machine_wide != 0) impl::serve_all_users();
  try {
    return &impl::inproc_service().registry();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
