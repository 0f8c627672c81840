// The file of the user's hive, as the rest of the library sees it.
#pragma once

#include <kelvane/user_hive_file.h>
