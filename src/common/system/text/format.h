#pragma once

// Message templates with numbered placeholders, filled from a list of typed arguments:
//     CTFmtArgs<CISOEncoding>().Add(port).Add(action).Format("port %1, action %2")
// A pack shares its list with its copies. Belongs to one thread, like the strings it holds.

#include "common/system/text/string.h"
