// Functions of the system that a module imports, replaced: so a test lets the system answer what it seldom answers.
#pragma once

#include <windows.h>

namespace qev::test {

// Replaces one function that `module` imports by its name, for the time of one object. Throws std::runtime_error if the
// module does not import it.
class Import {
 public:
  template <typename Function>
  Import(HMODULE module, const char* name, Function* replacement) : slot_(find(module, name)), original_(*slot_) {
    put(reinterpret_cast<void*>(replacement));
  }
  Import(const Import&) = delete;
  Import& operator=(const Import&) = delete;
  ~Import() { put(original_); }

 private:
  static void** find(HMODULE module, const char* name);
  void put(void* function);

  void** slot_;
  void* original_;
};

}  // namespace qev::test
