// regss: the server of the registry.
#include "regss/options.h"
#include "regss/serve.h"
#include "regss/signals.h"

int main(int count, char** words) {
  regss::Options options;
  int status = 0;
  if (!regss::read_options(count, words, &options, &status)) return status;
  regss::take_default_signals();
  return regss::serve(options);
}
