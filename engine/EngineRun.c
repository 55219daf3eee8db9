/* One run of the zip sources' main function, from which they come back by returning or by qevExit. */
#include <stddef.h>

int zipmain(int argc, char** argv);

static void* returnPoint[5];
static int exitCode;

int qevRun(int argc, char** argv) {
  if (__builtin_setjmp(returnPoint) != 0) return exitCode;
  return zipmain(argc, argv);
}

void qevExit(int code) {
  exitCode = code;
  __builtin_longjmp(returnPoint, 1);
}
