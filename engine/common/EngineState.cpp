// The static data of the sources, which were made to run once in a process.
//
// The linker lays out the data of the object files in the order of its command line, so all of it lies between the two
// marker objects (StateFirst.c, StateLast.c). Its initial values are kept when the DLL is loaded and given back before
// each run. Whether the markers enclose exactly the sources' data is checked when the DLL is built
// (CheckEngineState.cmake).
#include "Engine.h"

extern "C" {
extern char qevDataFirst[];
extern char qevDataLast[];
extern char qevZeroFirst[];
extern char qevZeroLast[];
}

namespace qev::engine::state {

namespace {

Pages initial;

// The compiler must not conclude anything from these being different objects.
size_t distance(const char* from, const char* to) {
  const auto first = reinterpret_cast<ULONG_PTR>(from);
  const auto last = reinterpret_cast<ULONG_PTR>(to);
  return last > first ? static_cast<size_t>(last - first) : 0;
}

}  // namespace

bool capture() {
  const size_t size = distance(qevDataFirst, qevDataLast);
  if (size == 0 || distance(qevZeroFirst, qevZeroLast) == 0) return false;
  initial.reset(VirtualAlloc(nullptr, size, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
  if (!initial) return false;
  memcpy(initial.get(), reinterpret_cast<const void*>(reinterpret_cast<ULONG_PTR>(qevDataFirst)), size);
  return true;
}

void restore() {
  void* volatile data = qevDataFirst;
  void* volatile zero = qevZeroFirst;
  memcpy(data, initial.get(), distance(qevDataFirst, qevDataLast));
  memset(zero, 0, distance(qevZeroFirst, qevZeroLast));
}

void release() {
  initial.reset();
}

}  // namespace qev::engine::state
