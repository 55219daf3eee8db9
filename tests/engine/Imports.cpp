// The import tables of a module in memory: an IMAGE_IMPORT_DESCRIPTOR for each library, with the names of the functions
// (OriginalFirstThunk) and, in the same order, their addresses (FirstThunk).
#include "Imports.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace qev::test {

void** Import::find(HMODULE module, const char* name) {
  auto* const base = reinterpret_cast<char*>(module);
  const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  const auto* library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
  for (; library->FirstThunk != 0; ++library) {
    const auto* wanted = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
    auto* slot = reinterpret_cast<void**>(base + library->FirstThunk);
    for (; wanted->u1.AddressOfData != 0; ++wanted, ++slot) {
      if (IMAGE_SNAP_BY_ORDINAL(wanted->u1.Ordinal)) continue;
      const auto* const import = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + wanted->u1.AddressOfData);
      if (strcmp(reinterpret_cast<const char*>(import->Name), name) == 0) return slot;
    }
  }
  throw std::runtime_error(std::string("no such import: ") + name);
}

void Import::put(void* function) {
  DWORD before = 0;
  VirtualProtect(slot_, sizeof *slot_, PAGE_READWRITE, &before);
  *slot_ = function;
  VirtualProtect(slot_, sizeof *slot_, before, &before);
}

}  // namespace qev::test
