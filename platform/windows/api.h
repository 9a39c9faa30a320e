#pragma once

#include <windows.h>

// Windows makes a macro of a name that the platform room uses.
#undef MessageBox
