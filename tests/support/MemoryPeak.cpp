#include "support/MemoryPeak.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> held{0};
std::atomic<std::size_t> most{0};

std::size_t blockSize(void* block) {
#ifdef _WIN32
  return _msize(block);
#else
  return malloc_usable_size(block);
#endif
}

void* obtain(std::size_t size) {
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  const std::size_t now = held += blockSize(block);
  for (std::size_t before = most; before < now && !most.compare_exchange_weak(before, now);) {
  }
  return block;
}

void release(void* block) noexcept {
  if (block == nullptr) return;
  held -= blockSize(block);
  std::free(block);
}

}  // namespace

void* operator new(std::size_t size) {
  return obtain(size);
}

void* operator new[](std::size_t size) {
  return obtain(size);
}

// A sanitizer brings its own of these otherwise, whose blocks are not ours to free.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return obtain(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void* operator new[](std::size_t size, const std::nothrow_t& how) noexcept {
  return operator new(size, how);
}

void operator delete(void* block) noexcept {
  release(block);
}

void operator delete[](void* block) noexcept {
  release(block);
}

void operator delete(void* block, std::size_t) noexcept {
  release(block);
}

void operator delete[](void* block, std::size_t) noexcept {
  release(block);
}

namespace qev::test {

MemoryPeak::MemoryPeak() : atStart_(held) {
  most = atStart_;
}

std::size_t MemoryPeak::bytes() const {
  return most - atStart_;
}

}  // namespace qev::test
