/* A library whose hooks carry its base name: "libnamed.so" has the base name "named". */
#define _POSIX_C_SOURCE 200112L
#include <stdio.h>
#include <stdlib.h>

static void note(const char *letter) {
  const char *before = getenv("NAMED_CALLS");
  char calls[256];
  snprintf(calls, sizeof calls, "%s%s", before != NULL ? before : "", letter);
  setenv("NAMED_CALLS", calls, 1);
}

void named_initialize(void);
void named_terminate(void);

void named_initialize(void) { note("i"); }
void named_terminate(void) { note("t"); }
