// What the test's own process holds at the moment.
#pragma once

#include <windows.h>

#include <cstddef>

namespace qev::test {

// Counted one by one: Wine answers GetProcessHandleCount with 0.
DWORD handleCount();

// Bytes that the system has promised to it: private ones.
SIZE_T memoryInUse();

// Bytes of the process heap that are in use.
size_t processHeapInUse();

}  // namespace qev::test
