// A host that uses the library without registration: no regsvr32, no rights of an administrator, nothing in the
// registry but the host's own settings. Makes an automatic backup.
//
//   sidebyside [KEY]      the host's key under HKEY_LOCAL_MACHINE; Software\Gestion where none is named
//
// Windows finds the class by two manifests: this program's own (sidebyside.manifest, a resource of the program) names
// the assembly QevBackup.X, and QevBackup.X.manifest says which DLL holds the class. In the program's folder, or in a
// subfolder "QevBackup.X" of it, there must be QevBackup.X.manifest, QevBackup.dll, VANTO5.DLL and VANTO6.DLL, all of
// the program's own architecture. The code is what it would be with a registered library.
//
// This host has no database. One that has closes it before the backup, and opens it again after.
#include <windows.h>

#include <initguid.h>

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <cwchar>

#include "IMCBackup.h"

namespace {

// Where the DLL is that the class came from.
void tellLibrary() {
  wchar_t path[1024] = L"";
  GetModuleFileNameW(GetModuleHandleW(L"QevBackup.dll"), path, 1024);
  std::wprintf(L"Library=%ls\n", path);
}

HRESULT putText(IMCBackup* backup, HRESULT (STDMETHODCALLTYPE IMCBackup::*put)(BSTR), const wchar_t* text) {
  const BSTR value = SysAllocString(text);
  const HRESULT result = (backup->*put)(value);
  SysFreeString(value);
  return result;
}

// Only in safe mode is a success proof that the set holds every file of the data as it is.
HRESULT turnSafeModeOn(const wchar_t* key) {
  constexpr wchar_t name[] = L"Verificar";
  DWORD value = 0;
  DWORD size = sizeof value;
  const LSTATUS status = RegGetValueW(HKEY_LOCAL_MACHINE, key, name, RRF_RT_REG_DWORD, nullptr, &value, &size);
  if (status == ERROR_SUCCESS && value == 1) return S_OK;
  value = 1;
  return HRESULT_FROM_WIN32(
      static_cast<DWORD>(RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, name, REG_DWORD, &value, sizeof value)));
}

HRESULT makeBackup(IMCBackup* backup, const wchar_t* key) {
  HRESULT result = turnSafeModeOn(key);
  if (SUCCEEDED(result)) result = putText(backup, &IMCBackup::put_Titulo, L"Gestion");
  if (SUCCEEDED(result)) result = putText(backup, &IMCBackup::put_Registro, key);
  if (SUCCEEDED(result)) result = putText(backup, &IMCBackup::put_Terminado, L"False");
  if (SUCCEEDED(result)) result = backup->CopiaAuto();
  if (FAILED(result)) return result;

  BSTR finished = nullptr;
  result = backup->get_Terminado(&finished);
  std::wprintf(L"Terminado=%ls\n", finished ? finished : L"");
  SysFreeString(finished);
  return result;
}

HRESULT run(const wchar_t* key) {
  CLSID id{};
  HRESULT result = CLSIDFromProgID(L"QevBackup.MCBackup", &id);
  if (FAILED(result)) return result;
  IMCBackup* backup = nullptr;
  result = CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IMCBackup, reinterpret_cast<void**>(&backup));
  if (FAILED(result)) return result;
  tellLibrary();
  result = makeBackup(backup, key);
  backup->Release();
  return result;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  _setmode(_fileno(stdout), _O_U8TEXT);
  HRESULT result = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  if (SUCCEEDED(result)) {
    result = run(count > 1 ? arguments[1] : L"Software\\Gestion");
    CoUninitialize();
  }
  if (FAILED(result)) std::wprintf(L"Error 0x%08lX\n", static_cast<unsigned long>(result));
  return FAILED(result) ? 1 : 0;
}
