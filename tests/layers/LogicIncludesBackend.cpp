// Must not build: the window's logic reaching a platform backend.
#include "platform/wine/WineKeyStore.h"
