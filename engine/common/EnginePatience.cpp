// How long a run waits for places that others hold: what the caller has set, and what of it is left.
#include "Engine.h"

namespace qev::engine::patience {
namespace {

constinit Patience ofEachRun;
constinit Patience ofThisRun;

}  // namespace

void begin() {
  ofThisRun = ofEachRun;
}

Patience& left() {
  return ofThisRun;
}

}  // namespace qev::engine::patience

// Vanto5.h and Vanto6.h declare it.
extern "C" void WINAPI QevSetPatience(unsigned long milliseconds, void(WINAPI* giveMessages)(void*), void* context) {
  qev::engine::patience::ofEachRun = {milliseconds, giveMessages, context};
}
