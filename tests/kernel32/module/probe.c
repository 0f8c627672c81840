/* A small module. PROBE_NUMBER tells its copies apart; the function of the library that it leans on is not its
 * own. */
#include <windef.h>

KV_EXPORT INT_PTR probe_number(void);
KV_EXPORT extern int probe_variable;
int probe_of_another_library(void);

int probe_variable = PROBE_NUMBER;

INT_PTR probe_number(void) { return PROBE_NUMBER; }

KV_EXPORT INT_PTR probe_calls_its_library(void);
INT_PTR probe_calls_its_library(void) { return probe_of_another_library(); }
