/* A host in C: makes a body, fills and asks it, and lets it go. */
#include <sbrkit/sbrkit.h>
#include <stdio.h>
#include <string.h>

static int print_message(const char *text) { return fprintf(stderr, "%s\n", text); }

int main(void) {
  message_handlers handlers = {print_message, print_message, print_message};
  interface_table table;
  SBR body;
  double mass;
  memset(&table, 0, sizeof table);
  SetMessageHandlers(&handlers);
  PopulateInterface(&table);
  if (table.slot[0] != (void (*)(void))SBR_Create) return 1;
  body = SBR_Create(2, 1);
  SBR_SetNodalMass(body, 10, 1.25);
  SBR_SetNodalMass(body, 20, 2.5);
  mass = SBR_Invar1(body);
  SBR_DeReference(body);
  printf("mass %g\n", mass);
  return mass == 3.75 ? 0 : 2;
}
