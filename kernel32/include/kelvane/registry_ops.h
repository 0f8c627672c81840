/* How the base library reaches the registry: the object that libadvapi32 installs at start-up. */
#ifndef KELVANE_REGISTRY_OPS_H
#define KELVANE_REGISTRY_OPS_H

#include <windef.h>

inline namespace kelvane {

/* The registry of this process. The object is installed once and never destroyed. */
class KV_EXPORT RegistryOps {
 public:
  virtual int Close() = 0;
  virtual int CloseKey(void* key) = 0;

 protected:
  ~RegistryOps() = default;
};

}  // namespace kelvane

/* Null until the registry has been initialised. */
extern KV_EXPORT RegistryOps* registry_ops;

#endif
