/* One run of an engine's sources, from which they come back by returning or by qevExit. */
#ifndef QEV_ENGINE_RUN_H
#define QEV_ENGINE_RUN_H

#ifdef __cplusplus
extern "C" {
#endif

/* Calls `run` and answers its code, or the code given to qevExit. */
int qevRun(int (*run)(void* argument), void* argument);

/* Ends the run, from anywhere inside it, by a jump over the frames of the sources. */
void qevExit(int code) __attribute__((noreturn));

#ifdef __cplusplus
}
#endif

#endif
