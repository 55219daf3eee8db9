#include "ProcessUse.h"

#include <psapi.h>

#include <cstdint>

namespace qev::test {

DWORD handleCount() {
  constexpr uintptr_t highest = 0x4000;  // they are multiples of four, and low ones are given out first
  DWORD count = 0;
  DWORD flags = 0;
  for (uintptr_t value = 4; value < highest; value += 4) {
    count += GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) ? 1u : 0u;
  }
  return count;
}

SIZE_T memoryInUse() {
  PROCESS_MEMORY_COUNTERS counters{};
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return counters.PagefileUsage;
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
