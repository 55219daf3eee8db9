#include "automation/Registration.h"

#include <oleauto.h>
#include <wrl/client.h>

#include <string>

#include "automation/MCBackup.h"
#include "automation/TypeLibrary.h"
#include "platform/AutomationError.h"
#include "platform/Handle.h"
#include "platform/Variant.h"

namespace qev {
namespace {

constexpr wchar_t kDescription[] = L"Copias de seguridad QevBackup";
constexpr wchar_t kVersion[] = L"1.0";

#ifdef _WIN64
constexpr SYSKIND kSystem = SYS_WIN64;
constexpr REGSAM kOtherView = KEY_WOW64_32KEY;
#else
constexpr SYSKIND kSystem = SYS_WIN32;
constexpr REGSAM kOtherView = KEY_WOW64_64KEY;
#endif

std::wstring textOf(const GUID& id) {
  wchar_t text[40];
  StringFromGUID2(id, text, 40);
  return text;
}

std::wstring classKey() {
  return L"CLSID\\" + textOf(kClassId);
}

LSTATUS openClasses(REGSAM access, UniqueKey& classes) {
  HKEY key = nullptr;
  const LSTATUS status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Classes", 0, access, &key);
  classes.reset(key);
  return status;
}

// Sets the value `name` (null: the default value) of a key below Software\Classes, creating the key.
LSTATUS setText(const UniqueKey& classes, const std::wstring& path, const wchar_t* name, const std::wstring& text) {
  HKEY opened = nullptr;
  const LSTATUS status =
      RegCreateKeyExW(classes.get(), path.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &opened, nullptr);
  const UniqueKey key(opened);
  if (status != ERROR_SUCCESS) return status;
  const auto size = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  return RegSetValueExW(key.get(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), size);
}

LSTATUS writeClass() {
  UniqueKey classes;
  LSTATUS status = openClasses(KEY_CREATE_SUB_KEY, classes);
  const auto set = [&](const std::wstring& path, const wchar_t* name, const std::wstring& text) {
    if (status == ERROR_SUCCESS) status = setText(classes, path, name, text);
  };
  set(classKey(), nullptr, kDescription);
  set(classKey() + L"\\InprocServer32", nullptr, modulePath());
  set(classKey() + L"\\InprocServer32", L"ThreadingModel", L"Apartment");
  set(classKey() + L"\\ProgID", nullptr, kProgId);
  set(classKey() + L"\\TypeLib", nullptr, textOf(kLibraryId));
  set(classKey() + L"\\Version", nullptr, kVersion);
  set(kProgId, nullptr, kDescription);
  set(std::wstring(kProgId) + L"\\CLSID", nullptr, textOf(kClassId));
  return status;
}

HRESULT writeTypeLibrary() {
  Microsoft::WRL::ComPtr<ITypeLib> typeLibrary;
  const HRESULT result = loadOwnTypeLibrary(typeLibrary.GetAddressOf());
  if (FAILED(result)) return result;
  std::wstring path = modulePath();
  return RegisterTypeLib(typeLibrary.Get(), path.data(), nullptr);
}

HRESULT removeTypeLibrary() {
  Bstr path;
  if (FAILED(QueryPathOfRegTypeLib(kLibraryId, 1, 0, LOCALE_NEUTRAL, path.put()))) return S_OK;  // not registered
  return UnRegisterTypeLib(kLibraryId, 1, 0, LOCALE_NEUTRAL, kSystem);
}

LSTATUS removeTree(const UniqueKey& classes, const std::wstring& path) {
  const LSTATUS status = RegDeleteTreeW(classes.get(), path.c_str());
  return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
}

// Whether the library of the other architecture is registered. A 32-bit system has one view only, whatever is asked
// for: REQUIRES that this class is gone.
bool otherClassStands() {
  HKEY key = nullptr;
  const LSTATUS status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, (L"Software\\Classes\\" + classKey()).c_str(), 0,
                                       KEY_QUERY_VALUE | kOtherView, &key);
  const UniqueKey other(key);
  return status == ERROR_SUCCESS;
}

// Both architectures have a class of their own and share the ProgID: the last to go takes it along.
LSTATUS removeClass() {
  UniqueKey classes;
  LSTATUS status = openClasses(DELETE | KEY_ENUMERATE_SUB_KEYS | KEY_QUERY_VALUE | KEY_SET_VALUE, classes);
  if (status == ERROR_SUCCESS) status = removeTree(classes, classKey());
  if (status == ERROR_SUCCESS && !otherClassStands()) status = removeTree(classes, kProgId);
  return status;
}

}  // namespace

HRESULT registerServer() {
  const LSTATUS status = writeClass();
  const HRESULT result = status == ERROR_SUCCESS ? writeTypeLibrary() : HRESULT_FROM_WIN32(status);
  if (FAILED(result)) unregisterServer();
  return result;
}

HRESULT unregisterServer() {
  const LSTATUS status = removeClass();
  const HRESULT result = removeTypeLibrary();
  return status == ERROR_SUCCESS ? result : HRESULT_FROM_WIN32(status);
}

}  // namespace qev
