/* A device with an operating system, which has the stack to itself. */
#include "device.h"

void paintStack(void) {}

size_t deepestStack(void) { return 0; }
