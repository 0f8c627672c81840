#include "impl/server/run.h"

extern "C" int KvRegssRun(const Regss_Options* options) { return options == nullptr || options->socket_count == 0; }
