// A host that backs up and tells what it cost: an early-bound C++ program with the library in its process.
//
//   HostBackup HOST            HOST: a folder with Datos\Emp01, Util.mde, Gestion.ini and an empty Backup in it
//   HostBackup HOST Verificar  the same in safe mode: the setting Verificar is 1
//   HostBackup --empty         starts, touches neither COM nor the library, and tells its memory
//
// Writes its settings (with Cerrar = 1, so that the window closes by itself), makes the object by its ProgID and calls
// CopiaAuto once. Prints one line:
//
//   ms MILLISECONDS peak BEFORE AFTER commit BEFORE AFTER estado TEXT
//
// with the time of the call and, in KiB, the peak working set and the peak of committed memory of this process before
// the object is made and after the call (GetProcessMemoryInfo). Ends with 0 when the backup was a success.
#include <windows.h>

#include <initguid.h>
#include <psapi.h>

#include <cstdio>
#include <string>

#include "IMCBackup.h"

namespace {

constexpr wchar_t kKey[] = L"Software\\QevBench";
constexpr wchar_t kSuccess[] = L"Ultima copia de seguridad realizada correctamente";

struct Memory {
  unsigned long long peakKib = 0;
  unsigned long long commitKib = 0;
};

Memory memoryNow() {
  PROCESS_MEMORY_COUNTERS counters{};
  if (!GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters)) return {};
  return {counters.PeakWorkingSetSize / 1024, counters.PeakPagefileUsage / 1024};
}

double milliseconds() {
  LARGE_INTEGER frequency, now;
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&now);
  return 1000.0 * static_cast<double>(now.QuadPart) / static_cast<double>(frequency.QuadPart);
}

// A text for a call, freed after it.
class Text {
 public:
  explicit Text(const wchar_t* text) : value_(SysAllocString(text)) {}
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;
  ~Text() { SysFreeString(value_); }
  operator BSTR() const { return value_; }

 private:
  BSTR value_;
};

bool setSetting(const wchar_t* name, const std::wstring& text) {
  const DWORD bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  return RegSetKeyValueW(HKEY_LOCAL_MACHINE, kKey, name, REG_SZ, text.c_str(), bytes) == ERROR_SUCCESS;
}

std::wstring setting(const wchar_t* name) {
  wchar_t text[1024] = L"";
  DWORD bytes = sizeof text;
  RegGetValueW(HKEY_LOCAL_MACHINE, kKey, name, RRF_RT_REG_SZ, nullptr, text, &bytes);
  return text;
}

bool writeSettings(const std::wstring& host, bool safe) {
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, kKey);
  if (safe && !setSetting(L"Verificar", L"1")) return false;
  return setSetting(L"DirDatos", host + L"\\Datos\\Emp01\\") && setSetting(L"DirMDE", host + L"\\") &&
         setSetting(L"Cerrar", L"1");
}

// The whole job of a host, timed around CopiaAuto. Answers the first failure.
HRESULT backUp(double& duration) {
  CLSID id{};
  HRESULT result = CLSIDFromProgID(L"QevBackup.MCBackup", &id);
  if (FAILED(result)) return result;
  IMCBackup* backup = nullptr;
  result = CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IMCBackup, reinterpret_cast<void**>(&backup));
  if (FAILED(result)) return result;
  result = backup->put_Titulo(Text(L"Gestion"));
  if (SUCCEEDED(result)) result = backup->put_Registro(Text(kKey));
  const double start = milliseconds();
  if (SUCCEEDED(result)) result = backup->CopiaAuto();
  duration = milliseconds() - start;
  backup->Release();
  return result;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  const bool safe = count == 3 && std::wstring(L"Verificar") == arguments[2];
  if (count != 2 && !safe) return fputs("HostBackup HOST [Verificar] | --empty\n", stderr), 2;
  const Memory before = memoryNow();
  double duration = 0;
  std::wstring estado = L"-";
  int status = 0;
  if (std::wstring(L"--empty") != arguments[1]) {
    if (!writeSettings(arguments[1], safe)) return fputs("HostBackup: the settings cannot be written\n", stderr), 3;
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const HRESULT result = backUp(duration);
    if (FAILED(result)) return fprintf(stderr, "HostBackup: error 0x%08lx\n", static_cast<unsigned long>(result)), 4;
    estado = setting(L"Estado");
    status = estado == kSuccess ? 0 : 1;
  }
  const Memory after = memoryNow();
  printf("ms %.1f peak %llu %llu commit %llu %llu estado %ls\n", duration, before.peakKib, after.peakKib,
         before.commitKib, after.commitKib, estado.c_str());
  return status;
}
