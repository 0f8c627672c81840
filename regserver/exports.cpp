// The endpoint of this process and the exported functions that act on it.

#include <kelvane/registry_server.h>

#include "regserver/connect_data.h"

inline namespace kelvane {
namespace {

RegConnectData* connect_data = nullptr;

}  // namespace
}  // namespace kelvane

// QUIRK failed-endpoint-stays: an endpoint that could not be made is installed all the same.
int KvCreateRegConnectData(int is_server) {
  connect_data = new RegConnectData(is_server);
  return connect_data->ok == 1 ? 0 : 1;
}

void KvDestroyRegConnectData(void) {
  delete connect_data;
  connect_data = nullptr;
}

int KvIsRegssAlive(void) { return connect_data->IsAlive(); }

int KvLockRegServerFile(void) { return connect_data->ConnectLock(); }

int KvUnlockRegServerFile(int verify) { return connect_data->ConnectUnlock(verify); }

int KvRegisterRegss(void) { return connect_data->RegisterServer(); }

int KvUnlinkRegServerFile(void) { return connect_data->ConnectUnlink(); }

const char* getPortName(void) { return connect_data->getPortName(); }
