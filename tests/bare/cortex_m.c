/* Start, stack and exit of a Cortex-M whose C library uses semihosting. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "device.h"

extern uint32_t bssBegin, bssEnd, dataBegin, dataEnd, dataInFlash, stackBottom, stackTop;
extern void initialise_monitor_handles(void);
extern int main(int argc, char **argv);

enum { kPaint = 0x5A17C0DE };

static char *stackPointer(void) {
  char *pointer;
  __asm__ volatile("mov %0, sp" : "=r"(pointer));
  return pointer;
}

void paintStack(void) {
  const uint32_t *end = (const uint32_t *)(const void *)stackPointer();
  for (volatile uint32_t *word = &stackBottom; word < end; ++word) *word = kPaint;
}

size_t deepestStack(void) {
  const uint32_t *word = &stackBottom;
  while (*word == kPaint) ++word;
  return (size_t)(stackPointer() - (const char *)word);
}

/* Newlib's semihosting has none. */
int rename(const char *from, const char *to) {
  const struct {
    const char *from;
    size_t fromLength;
    const char *to;
    size_t toLength;
  } names = {from, strlen(from), to, strlen(to)};
  register int call __asm__("r0") = 0x0F; /* SYS_RENAME */
  register const void *argument __asm__("r1") = &names;
  __asm__ volatile("bkpt 0xAB" : "+r"(call) : "r"(argument) : "memory");
  return call == 0 ? 0 : -1;
}

void reset(void) {
  const uint32_t *from = &dataInFlash;
  for (uint32_t *to = &dataBegin; to < &dataEnd; ++to) *to = *from++;
  for (uint32_t *to = &bssBegin; to < &bssEnd; ++to) *to = 0;
  initialise_monitor_handles();
  exit(main(0, NULL));
}

void fault(void) { _Exit(EXIT_FAILURE); }

/* What the processor reads first. */
static const struct {
  uint32_t *stackTop;
  void (*handlers[3])(void);
} kVectors __attribute__((section(".vectors"), used)) = {&stackTop, {reset, fault, fault}};
