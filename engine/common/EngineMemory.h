/* Memory for the sources of an engine, from the heap of the run. */
#ifndef QEV_ENGINE_MEMORY_H
#define QEV_ENGINE_MEMORY_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

void* qevMalloc(size_t size);
void* qevCalloc(size_t count, size_t size);
void* qevRealloc(void* block, size_t size);
void qevFree(void* block);
char* qevStrdup(const char* text);

#ifdef __cplusplus
}
#endif

#endif
