/* A library with both hooks, which count their calls in the environment variable HOOKED_CALLS as letters. */
#define _POSIX_C_SOURCE 200112L
#include <stdio.h>
#include <stdlib.h>

static void note(const char *letter) {
  const char *before = getenv("HOOKED_CALLS");
  char calls[256];
  snprintf(calls, sizeof calls, "%s%s", before != NULL ? before : "", letter);
  setenv("HOOKED_CALLS", calls, 1);
}

void _initialize(void);
void _terminate(void);
int hooked_answer(void);

void _initialize(void) { note("i"); }
void _terminate(void) { note("t"); }
int hooked_answer(void) { return 42; }
