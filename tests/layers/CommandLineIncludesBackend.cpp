// Must not build: a front end reaching the backend past the composition root.
#include "platform/wine/WineMachine.h"
