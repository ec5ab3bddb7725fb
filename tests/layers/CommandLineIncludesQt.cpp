// Must not build: the command line including the window toolkit.
#include <QtWidgets/QWidget>
