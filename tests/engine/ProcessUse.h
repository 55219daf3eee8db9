// What the test's own process holds at the moment.
#pragma once

#include <windows.h>

#include <cstddef>

namespace qev::test {

DWORD handleCount();

// Private bytes.
SIZE_T memoryInUse();

// Bytes of the process heap that are in use.
size_t processHeapInUse();

}  // namespace qev::test
