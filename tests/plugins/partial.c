/* A database library that lacks most of its entries: it boots, and has nothing to open a database with. */
#include "sbrkit/qsrv_entries.h"

QS_GetSysBuf_entry QS_GetSysBuf;
QS_DbaseBst_entry QS_DbaseBst;

void QS_GetSysBuf(int *maximum, int *second, int zero) {
  *maximum = 1000;
  *second = zero;
}

void QS_DbaseBst(const char *message_file, const char *directory, int *status) {
  (void)message_file;
  (void)directory;
  *status = 0;
}
