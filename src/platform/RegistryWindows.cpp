#include "platform/SystemServices.h"

#include <algorithm>
#include <type_traits>
#include <vector>

#include "platform/Handle.h"
#include "platform/Win32Error.h"

namespace qev {
namespace {

// Predefined keys are sign-extended 32-bit numbers in 64-bit processes.
HKEY rootKey(std::uint32_t root) {
  return reinterpret_cast<HKEY>(static_cast<LONG_PTR>(static_cast<LONG>(root)));
}

void check(LSTATUS status, const std::wstring& keyPath) {
  if (status != ERROR_SUCCESS) throwWin32(static_cast<DWORD>(status), keyPath);
}

struct RawValue {
  DWORD type = REG_NONE;
  std::vector<BYTE> bytes;
};

// Reads again while another process makes the value longer.
LSTATUS query(HKEY key, const std::wstring& name, RawValue& value) {
  DWORD size = 256;
  LSTATUS status = ERROR_MORE_DATA;
  while (status == ERROR_MORE_DATA) {
    value.bytes.resize(size);
    status = RegQueryValueExW(key, name.c_str(), nullptr, &value.type, value.bytes.data(), &size);
  }
  value.bytes.resize(status == ERROR_SUCCESS ? size : 0);
  return status;
}

// The text of a REG_SZ value, which need not be terminated.
std::wstring storedText(const RawValue& value) {
  std::wstring text(value.bytes.size() / sizeof(wchar_t), L'\0');
  std::copy_n(value.bytes.data(), text.size() * sizeof(wchar_t), reinterpret_cast<BYTE*>(text.data()));
  return text.substr(0, text.find(L'\0'));
}

std::wstring expanded(const std::wstring& text) {
  std::wstring result(ExpandEnvironmentStringsW(text.c_str(), nullptr, 0), L'\0');
  const DWORD length = ExpandEnvironmentStringsW(text.c_str(), result.data(), static_cast<DWORD>(result.size()));
  if (length == 0 || length > result.size()) return text;
  result.resize(length - 1);
  return result;
}

template <typename Number>
Number storedNumber(const RawValue& value, const std::wstring& name) {
  Number number = 0;
  if (value.bytes.size() != sizeof number) throw AutomationError(kTypeMismatch, name);
  std::copy_n(value.bytes.data(), sizeof number, reinterpret_cast<BYTE*>(&number));
  return number;
}

// Values have no integers of 64 bits.
Value numberValue(std::int64_t number) {
  const auto narrow = static_cast<std::int32_t>(number);
  return narrow == number ? Value(narrow) : Value(static_cast<double>(number));
}

Value interpreted(const RawValue& value, const std::wstring& name) {
  switch (value.type) {
    case REG_SZ: return storedText(value);
    case REG_EXPAND_SZ: return expanded(storedText(value));
    case REG_DWORD: return storedNumber<std::int32_t>(value, name);
    case REG_QWORD: return numberValue(storedNumber<std::int64_t>(value, name));
    default: throw AutomationError(kTypeMismatch, name);
  }
}

LSTATUS setNumber(HKEY key, const std::wstring& name, std::int32_t number) {
  return RegSetValueExW(key, name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
}

LSTATUS setText(HKEY key, const std::wstring& name, const std::wstring& text) {
  const auto size = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  return RegSetValueExW(key, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), size);
}

LSTATUS set(HKEY key, const std::wstring& name, const Value& value) {
  return std::visit(
      [&](const auto& held) {
        using T = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<T, bool>)
          return setNumber(key, name, held ? -1 : 0);
        else if constexpr (std::is_integral_v<T>)
          return setNumber(key, name, held);
        else
          return setText(key, name, LocaleWindows().toText(held));
      },
      value);
}

}  // namespace

Value RegistryWindows::read(const std::wstring& keyPath, const std::wstring& name, std::uint32_t root) const {
  HKEY opened = nullptr;
  LSTATUS status = RegOpenKeyExW(rootKey(root), keyPath.c_str(), 0, KEY_QUERY_VALUE, &opened);
  const UniqueKey key(opened);
  RawValue value;
  if (status == ERROR_SUCCESS) status = query(key.get(), name, value);
  if (status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND) return Empty{};
  check(status, keyPath);
  return interpreted(value, name);
}

void RegistryWindows::write(const std::wstring& keyPath, const std::wstring& name, std::uint32_t root,
                            const Value& value) {
  HKEY opened = nullptr;
  check(RegCreateKeyExW(rootKey(root), keyPath.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &opened, nullptr),
        keyPath);
  const UniqueKey key(opened);
  check(set(key.get(), name, value), keyPath);
}

}  // namespace qev
