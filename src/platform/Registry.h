// Named values in the Windows registry, in the 32-bit or 64-bit view that the host process itself sees.
#pragma once

#include <cstdint>
#include <string>

#include "platform/Value.h"

namespace qev {

inline constexpr std::uint32_t kLocalMachine = 0x80000002;  // HKEY_LOCAL_MACHINE

class Registry {
 public:
  virtual ~Registry() = default;

  // The value `name` under `keyPath`, empty when the key or the name does not exist. Texts (REG_SZ; REG_EXPAND_SZ with
  // its variables replaced) come as text, REG_DWORD as a 32-bit integer; any other type throws 13. Throws 70 when
  // access is denied. RegOpenKeyExW, RegQueryValueExW.
  virtual Value read(const std::wstring& keyPath, const std::wstring& name, std::uint32_t root) const = 0;

  // Writes a value, creating the key where it is missing. Integers and Booleans are stored as REG_DWORD, all else as
  // REG_SZ text. Throws 70 when access is denied, 13 for a null value. RegCreateKeyExW, RegSetValueExW.
  virtual void write(const std::wstring& keyPath, const std::wstring& name, std::uint32_t root, const Value& value) = 0;
};

}  // namespace qev
