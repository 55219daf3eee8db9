#include "EngineRun.h"

static void* returnPoint[5];
static int exitCode;

int qevRun(int (*run)(void* argument), void* argument) {
  if (__builtin_setjmp(returnPoint) != 0) return exitCode;
  return run(argument);
}

void qevExit(int code) {
  exitCode = code;
  __builtin_longjmp(returnPoint, 1);
}
