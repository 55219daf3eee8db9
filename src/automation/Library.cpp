#include "automation/Library.h"

#include <atomic>

namespace qev {
namespace {

std::atomic<long> uses{0};

}  // namespace

Library& library() {
  static Library only;
  return only;
}

void LibraryUse::begin() {
  ++uses;
}

void LibraryUse::end() {
  --uses;
}

bool LibraryUse::any() {
  return uses > 0;
}

}  // namespace qev
