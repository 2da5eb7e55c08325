/* A database library that knows no more than to list: what stands in QSRV_LIST. */
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "sbrkit/qsrv_entries.h"

void QS_GetSysBuf(int *maximum, int *second, int zero) {
  *maximum = 65536;
  *second = zero;
}

void QS_GetDbName(const char *kind, char *name, int *length, int *status) {
  *status = *length < 20;
  if (*status != 0) return;
  strcpy(name, "listed_");
  strcat(name, kind);
  *length = (int)strlen(name);
}

void QS_DbaseCls(int *status) { *status = 0; }

void QS_DbaseBst(const char *message_file, const char *directory, int *status) {
  *status = message_file == NULL || directory == NULL;
}

void QS_DbaseNew(const char *base, const char *command, int *status) { *status = base == NULL || command == NULL; }

void QS_DbaseNdl(const char *directory, int *status) { *status = directory == NULL; }

void QS_DbCommand(const char *command, int *status) { *status = command == NULL; }

void QS_GetDbdict(const char *command, char *buffer, int size, int *needed, int *status) {
  const char *list = getenv("QSRV_LIST");
  *status = command == NULL;
  *needed = list == NULL ? 0 : (int)strlen(list);
  strncpy(buffer, list == NULL ? "" : list, (size_t)size);
  buffer[size - 1] = '\0';
}
