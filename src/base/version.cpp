// Library version text.
#include "camkit.h"

#ifndef CAMKIT_VERSION_STRING
#define CAMKIT_VERSION_STRING "0.0.0"
#endif

extern "C" const char* ci_GetVersionString(void) { return CAMKIT_VERSION_STRING; }
