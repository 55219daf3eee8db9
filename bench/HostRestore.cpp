// Restores a set and tells what it cost: the restore window itself, from its opening to its result.
//
//   HostRestore SET FOLDER     SET: path of a ".qev" whose program is "Gestion"; FOLDER: where its files go, with their
//                              folders
//
// Presses Aceptar as soon as the window enables it. Prints one line:
//
//   ms MILLISECONDS peak KIB restored YES_OR_NO
//
// with the time from the call to the end of the window and the peak working set of this process (GetProcessMemoryInfo).
// A message box of the run is printed and counts as a failure. Ends with 0 when everything was restored.
#include <windows.h>

#include <psapi.h>

#include <cstdio>
#include <string>

#include "resources/resource.h"
#include "restore/FPRestaura.h"

namespace {

constexpr UINT_PTR kWatch = 1;
constexpr UINT kWatchMilliseconds = 20;

// Messages that are printed instead of shown.
class PrintedMessages final : public qev::Messages {
 public:
  qev::Answer show(const std::wstring& text, const std::wstring& /*title*/, std::uint32_t /*style*/) override {
    ++count;
    fprintf(stderr, "HostRestore: %ls\n", text.c_str());
    return qev::Answer::Ok;
  }

  int count = 0;
};

// A window timer of no window ticks in whatever message loop the thread runs.
void CALLBACK pressAceptar(HWND, UINT, UINT_PTR, DWORD) {
  const HWND window = FindWindowW(nullptr, L"Gestion");
  const HWND button = window ? GetDlgItem(window, FPRestaura_BAceptar) : nullptr;
  if (button && IsWindowEnabled(button)) PostMessageW(window, WM_COMMAND, FPRestaura_BAceptar, 0);
}

double milliseconds() {
  LARGE_INTEGER frequency, now;
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&now);
  return 1000.0 * static_cast<double>(now.QuadPart) / static_cast<double>(frequency.QuadPart);
}

}  // namespace

int wmain(int count, wchar_t** arguments) try {
  if (count != 3) return fputs("HostRestore SET FOLDER\n", stderr), 2;
  qev::Platform& real = qev::systemPlatform();
  PrintedMessages messages;
  qev::Platform platform{real.registry,   real.files,       real.clock,         real.drives,
                         messages,        real.locale,      real.workFolder,    real.sound,
                         real.keyboard,   real.eventLoop,   real.folderChooser, real.accessibility,
                         real.textPrompt, real.fileChooser, real.processes,     real.session};
  qev::HostSettings host;
  qev::FormSession session;
  host.title = L"Gestion";
  qev::RestoreChoice choice;
  choice.Archivo = arguments[1];
  choice.Destino = arguments[2];
  choice.originalLocation = false;

  SetTimer(nullptr, kWatch, kWatchMilliseconds, pressAceptar);
  const double start = milliseconds();
  qev::FPRestaura window(platform, host, session, choice, nullptr);
  window.showModal();
  const double duration = milliseconds() - start;

  PROCESS_MEMORY_COUNTERS memory{};
  GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
  const bool restored = window.restored() && messages.count == 0;
  printf("ms %.1f peak %llu restored %s\n", duration, memory.PeakWorkingSetSize / 1024ULL, restored ? "yes" : "no");
  return restored ? 0 : 1;
} catch (const qev::AutomationError& error) {
  fprintf(stderr, "HostRestore: %ls\n", error.description().c_str());
  return 3;
}
