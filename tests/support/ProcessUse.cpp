#include "support/ProcessUse.h"

#include <psapi.h>
#include <tlhelp32.h>

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

namespace {

size_t inUse(HANDLE heap) {
  size_t total = 0;
  PROCESS_HEAP_ENTRY entry{};
  HeapLock(heap);
  while (HeapWalk(heap, &entry)) {
    if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) total += entry.cbData;
  }
  HeapUnlock(heap);
  return total;
}

}  // namespace

size_t processHeapInUse() {
  return inUse(GetProcessHeap());
}

size_t heapsInUse() {
  constexpr DWORD most = 256;
  HANDLE heaps[most];
  const DWORD count = GetProcessHeaps(most, heaps);
  size_t total = 0;
  for (DWORD at = 0; at < count && at < most; ++at) total += inUse(heaps[at]);
  return total;
}

size_t threadCount() {
  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 entry{};
  entry.dwSize = sizeof entry;
  size_t count = 0;
  for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry)) {
    count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1u : 0u;
  }
  CloseHandle(snapshot);
  return count;
}

}  // namespace qev::test
