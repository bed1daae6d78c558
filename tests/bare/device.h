/* What a test needs to know of the device that it runs on. */
#ifndef NEB_XML_TESTS_BARE_DEVICE_H
#define NEB_XML_TESTS_BARE_DEVICE_H

#include <stddef.h>

/* Fills the unused stack, so that what is used from now on can be measured. */
void paintStack(void);

/* The bytes of stack that calls behind the last painting have used; 0 where nobody knows. */
size_t deepestStack(void);

#endif
