// Memory of a run: a heap of its own, so that one call frees everything that the run forgot.
#include "Engine.h"

namespace qev::engine::memory {

namespace {
Heap heap;
}

bool begin() {
  heap.reset(HeapCreate(HEAP_NO_SERIALIZE, 1 << 20, 0));
  return static_cast<bool>(heap);
}

void end() {
  heap.reset();
}

void* allocate(size_t size, DWORD flags) {
  void* const block = HeapAlloc(heap.get(), flags, size != 0 ? size : 1);
  if (block == nullptr) errno = ENOMEM;
  return block;
}

void* resize(void* block, size_t size) {
  void* const moved = HeapReAlloc(heap.get(), 0, block, size != 0 ? size : 1);
  if (moved == nullptr) errno = ENOMEM;
  return moved;
}

void release(void* block) {
  HeapFree(heap.get(), 0, block);
}

}  // namespace qev::engine::memory

using namespace qev::engine;

extern "C" {

void* qevMalloc(size_t size) {
  return memory::allocate(size, 0);
}

void* qevCalloc(size_t count, size_t size) {
  if (size != 0 && count > static_cast<size_t>(-1) / size) return nullptr;
  return memory::allocate(count * size, HEAP_ZERO_MEMORY);
}

void* qevRealloc(void* block, size_t size) {
  return block == nullptr ? memory::allocate(size, 0) : memory::resize(block, size);
}

void qevFree(void* block) {
  if (block != nullptr) memory::release(block);
}

char* qevStrdup(const char* text) {
  const size_t size = strlen(text) + 1;
  char* const copy = static_cast<char*>(qevMalloc(size));
  if (copy != nullptr) memcpy(copy, text, size);
  return copy;
}
}
