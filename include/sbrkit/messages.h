/** @file
 *  @brief Messages to the host, and the table of functions for hosts that load the library at run time.
 *
 *  The library prints no diagnostic by itself. Every report is an error, a warning or an information, and goes to the
 *  handler that the host installed for its severity; without a handler it is dropped. A report stops nothing: results
 *  tell what came of an operation. Handlers belong to the process, not to a body, and are called one at a time: a
 *  report of another thread waits. A handler may use the library itself, but must not wait for another thread that
 *  does. */
#ifndef SBRKIT_SBRKIT_MESSAGES_H
#define SBRKIT_SBRKIT_MESSAGES_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** The host's receivers of messages. A null pointer drops the messages of its severity. A handler gets the text as the
 *  format says it, without prefix or added line feed; the text is valid during the call only. Its result becomes the
 *  result of SBR_Error(), SBR_Warning() or SBR_Info(). A handler must return: it may not throw or jump through the
 *  library. */
typedef struct message_handlers {
  int (*error)(const char *text);   /**< what went wrong */
  int (*warning)(const char *text); /**< what is odd, but was dealt with */
  int (*info)(const char *text);    /**< what is being done */
} message_handlers;

/** The number of slots of the function table. */
#define SBR_INTERFACE_SLOTS 173

/** The function table that PopulateInterface() fills. A slot is cast to the type of its operation before use. The slot
 *  numbers are listed in docs/function-table.md and never change. */
typedef struct interface_table {
  void (*slot[SBR_INTERFACE_SLOTS])(void); /**< by slot number */
} interface_table;

/** Sends an error, printf-style. Texts beyond 1007 characters are cut.
 *  @return the handler's result; 0 without a handler and for a null format. */
SBR_API int SBR_Error(const char *format, ...);

/** Sends a warning, printf-style. Texts beyond 1007 characters are cut.
 *  @return the handler's result; 0 without a handler and for a null format. */
SBR_API int SBR_Warning(const char *format, ...);

/** Sends an information, printf-style. Texts beyond 1007 characters are cut.
 *  @return the handler's result; 0 without a handler and for a null format. */
SBR_API int SBR_Info(const char *format, ...);

/** Installs all three handlers, in place of those there were. Null takes all three away. The record is copied.
 *  @return 1. */
SBR_API int SetMessageHandlers(const message_handlers *handlers);

/** Stores the address of each operation in its slot. Slots 44, 108 to 110, 126 and 135 to 138 belong to the host and
 *  stay as they were. May be called before anything else. A null table is left alone.
 *  @return 1. */
SBR_API int PopulateInterface(interface_table *table);

#ifdef __cplusplus
}
#endif

#endif
