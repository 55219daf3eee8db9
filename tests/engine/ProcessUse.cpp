#include "ProcessUse.h"

#include <psapi.h>

namespace qev::test {

DWORD handleCount() {
  DWORD count = 0;
  GetProcessHandleCount(GetCurrentProcess(), &count);
  return count;
}

SIZE_T memoryInUse() {
  PROCESS_MEMORY_COUNTERS_EX counters{};
  counters.cb = sizeof counters;
  GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters), sizeof counters);
  return counters.PrivateUsage;
}

size_t processHeapInUse() {
  const HANDLE heap = GetProcessHeap();
  size_t total = 0;
  PROCESS_HEAP_ENTRY entry{};
  HeapLock(heap);
  while (HeapWalk(heap, &entry)) {
    if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) total += entry.cbData;
  }
  HeapUnlock(heap);
  return total;
}

}  // namespace qev::test
