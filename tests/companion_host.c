/* A host that brings its own companion operations: the library must call these instead of its own. */
#include <stdio.h>
#include <string.h>

#include "sbrkit/sbrkit.h"

static int labels_seen = 0;
static int monitors_started = 0;
static int stamps = 0;

/* Accepts every label and spells the length unit "mm" out. */
int SBR_ConvertUnitsLabel(char *label16) {
  ++labels_seen;
  if (strcmp(label16, "mm") == 0) strcpy(label16, "MILLIMETER");
  return 1;
}

void SBR_TimeMonitor(int total) {
  (void)total;
  ++monitors_started;
}

void SBR_TimeMonitorStamp(void) { ++stamps; }

static int failures = 0;

static void expect(int condition, const char *what) {
  if (condition) return;
  fprintf(stderr, "failed: %s\n", what);
  ++failures;
}

static void units_labels_come_to_the_host(void) {
  SBR body = SBR_Create(1, 1);
  char length[16];
  expect(SBR_SetUnits(body, "KILOGRAM", "mm", "SECOND", "NEWTON") == 1, "the host accepts the labels");
  expect(labels_seen == 4, "the host is asked about four labels");
  SBR_Units(body, NULL, length, NULL, NULL);
  expect(strcmp(length, "MILLIMETER") == 0, "the host's spelling is taken");
  SBR_DeReference(body);
}

/* Coarsening a plate of 200 nodes announces its start, and every hundredth part of its way. */
static void the_time_monitor_comes_to_the_host(void) {
  enum { columns = 20, rows = 10 };
  int row, column;
  SBR body = SBR_Create(columns * rows, 1);
  for (row = 0; row < rows; ++row)
    for (column = 0; column < columns; ++column)
      SBR_SetNodeCoordinates(body, 1 + row * columns + column, column, row, 0.0);
  for (row = 0; row + 1 < rows; ++row)
    for (column = 0; column + 1 < columns; ++column) {
      const int corner = 1 + row * columns + column;
      SBR_SetFace(body, 4, corner, corner + 1, corner + columns + 1, corner + columns);
    }
  SBR_TrimGeometry(body, "0.1,10,0,");
  expect(monitors_started == 1, "the host's time monitor is started once");
  expect(stamps == 100, "the host's time monitor is stamped a hundred times");
  SBR_DeReference(body);
}

int main(int argc, char **argv) {
  const char *what = argc > 1 ? argv[1] : "";
  if (strcmp(what, "labels") == 0)
    units_labels_come_to_the_host();
  else if (strcmp(what, "monitor") == 0)
    the_time_monitor_comes_to_the_host();
  else
    expect(0, "an argument: labels or monitor");
  return failures == 0 ? 0 : 1;
}
