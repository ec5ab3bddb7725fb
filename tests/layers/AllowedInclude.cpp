// Builds: the window's logic may use the services below it.
#include "services/cRegistry.h"
