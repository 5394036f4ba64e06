#pragma once

// The API's functions, with the visibility of a library's exports: everything else is hidden.
#pragma GCC visibility push(default)
#include "zervane.h"
#pragma GCC visibility pop
