// A small host of the library in C++, early bound: title, settings key, and one request.
//
//   gestion [auto | prog | copiar | opciones | restaurar | ccopias]
//
//   auto       automatic backup, as when the program closes (also without an argument)
//   prog       scheduled backup, into the folder of the settings
//   copiar     the dialog for a backup by hand
//   opciones   the settings of backups and their schedule
//   restaurar  the dialog for restoring a set
//   ccopias    deletes the oldest sets
//
// The host's set-up has written DirDatos and DirMDE under HKEY_LOCAL_MACHINE\Software\Gestion, and the library is
// registered. IMCBackup.h comes with the library, in the folder "interface"; besides it takes advapi32, ole32, oleaut32
// and uuid.
//
// This host has no database. One that has closes it before auto, prog, copiar and restaurar, and opens it again after.
#include <windows.h>

#include <initguid.h>

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <cwchar>
#include <string>

#include "IMCBackup.h"

namespace {

constexpr wchar_t kTitle[] = L"Gestion";
constexpr wchar_t kKey[] = L"Software\\Gestion";
constexpr wchar_t kProgId[] = L"QevBackup.MCBackup";

// A BSTR that is freed at the end of its scope.
class Text {
 public:
  Text() = default;
  explicit Text(const wchar_t* text) : text_(SysAllocString(text)) {}
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;
  ~Text() { SysFreeString(text_); }

  BSTR get() const { return text_; }
  BSTR* put() { return &text_; }
  const wchar_t* read() const { return text_ ? text_ : L""; }

 private:
  BSTR text_ = nullptr;
};

// COM for this thread: the library shows its windows on it, so it is a single-threaded apartment.
class Apartment {
 public:
  Apartment() : result_(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) {}
  Apartment(const Apartment&) = delete;
  Apartment& operator=(const Apartment&) = delete;
  ~Apartment() {
    if (SUCCEEDED(result_)) CoUninitialize();
  }

  HRESULT result() const { return result_; }

 private:
  HRESULT result_;
};

// The one object, released at the end of its scope.
class Backup {
 public:
  Backup() = default;
  Backup(const Backup&) = delete;
  Backup& operator=(const Backup&) = delete;
  ~Backup() {
    if (object_) object_->Release();
  }

  HRESULT create() {
    CLSID id{};
    const HRESULT result = CLSIDFromProgID(kProgId, &id);
    if (FAILED(result)) return result;
    return CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IMCBackup, reinterpret_cast<void**>(&object_));
  }
  IMCBackup* operator->() const { return object_; }

 private:
  IMCBackup* object_ = nullptr;
};

// What the member that failed has told: its number and its description. The numbers of automation are the low 16 bits.
void tellError(HRESULT result) {
  Text description;
  IErrorInfo* error = nullptr;
  if (GetErrorInfo(0, &error) == S_OK) {
    error->GetDescription(description.put());
    error->Release();
  }
  std::wprintf(L"Error %ld: %ls\n", static_cast<long>(result & 0xFFFF), description.read());
}

// Only in safe mode is a success proof that the set holds every file of the data as it is.
HRESULT turnSafeModeOn() {
  constexpr wchar_t name[] = L"Verificar";
  DWORD value = 0;
  DWORD size = sizeof value;
  const LSTATUS status = RegGetValueW(HKEY_LOCAL_MACHINE, kKey, name, RRF_RT_REG_DWORD, nullptr, &value, &size);
  if (status == ERROR_SUCCESS && value == 1) return S_OK;
  value = 1;
  return HRESULT_FROM_WIN32(
      static_cast<DWORD>(RegSetKeyValueW(HKEY_LOCAL_MACHINE, kKey, name, REG_DWORD, &value, sizeof value)));
}

HRESULT startHost(Backup& backup) {
  HRESULT result = turnSafeModeOn();
  if (SUCCEEDED(result)) result = backup->put_Titulo(Text(kTitle).get());
  if (SUCCEEDED(result)) result = backup->put_Registro(Text(kKey).get());
  if (SUCCEEDED(result)) result = backup->put_Terminado(Text(L"False").get());
  return result;
}

// Does what is asked; false for what is not known.
bool run(Backup& backup, const std::wstring& request, HRESULT& result) {
  if (request == L"auto") {
    result = backup->CopiaAuto();
  } else if (request == L"prog") {
    result = backup->Destino();
    if (SUCCEEDED(result)) result = backup->CopiaProg();
  } else if (request == L"copiar") {
    result = backup->FormCopiar();
  } else if (request == L"opciones") {
    result = backup->FormOpciones();
  } else if (request == L"restaurar") {
    result = backup->FormRestaurar();
  } else if (request == L"ccopias") {
    result = backup->CCopias();
  } else {
    return false;
  }
  return true;
}

void tellOutcome(Backup& backup, const std::wstring& request) {
  Text folder;
  Text finished;
  backup->get_DirBackup(folder.put());
  backup->get_Terminado(finished.put());
  std::wprintf(L"DirBackup=%ls\nTerminado=%ls\n", folder.read(), finished.read());
  if (request != L"copiar") return;
  VARIANT_BOOL accepted = VARIANT_FALSE;
  backup->get_Aceptar(&accepted);
  std::wprintf(L"Aceptar=%ls\n", accepted ? L"True" : L"False");
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  _setmode(_fileno(stdout), _O_U8TEXT);
  const std::wstring request = count > 1 ? arguments[1] : L"auto";

  const Apartment apartment;
  HRESULT result = apartment.result();
  Backup backup;
  if (SUCCEEDED(result)) result = backup.create();
  if (SUCCEEDED(result)) result = startHost(backup);
  if (SUCCEEDED(result) && !run(backup, request, result)) {
    std::wprintf(L"gestion [auto | prog | copiar | opciones | restaurar | ccopias]\n");
    return 2;
  }
  if (FAILED(result)) {
    tellError(result);
    return 1;
  }
  tellOutcome(backup, request);
  return 0;
}
