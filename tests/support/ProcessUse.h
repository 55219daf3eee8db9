// What the test's own process holds at the moment.
#pragma once

#include <windows.h>

#include <cstddef>

namespace qev::test {

// Counted one by one: Wine answers GetProcessHandleCount with 0.
DWORD handleCount();

// Handles that may come up beside the runs, however many those are; runs that lose one each lose ten and more.
constexpr DWORD handlesOfTheSystem = 5;

// Bytes that the system has promised to it: private ones.
SIZE_T memoryInUse();

// Bytes of the process heap that are in use.
size_t processHeapInUse();

// Bytes of all its heaps that are in use.
size_t heapsInUse();

// Its threads.
size_t threadCount();

}  // namespace qev::test
