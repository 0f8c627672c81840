// kvreg, the registry from the command line.

#include "tools/kvreg/command_line.h"

int main(int argc, char** argv) { return kvreg::run_command_line({argv + 1, argv + argc}); }
