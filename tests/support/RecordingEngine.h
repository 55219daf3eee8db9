// A zip engine of the tests' own: it writes down what it is handed, and does what the test says in place of archiving.
// One at a time; for one thread.
#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "zip/CZipFiles.h"
#include "zip/DllEngines.h"

namespace qev::test {

class RecordingEngine {
 public:
  RecordingEngine();
  RecordingEngine(const RecordingEngine&) = delete;
  RecordingEngine& operator=(const RecordingEngine&) = delete;
  ~RecordingEngine();

  // What CZipFiles and BackupRun take. REQUIRES: the engine outlives what is given it.
  CZipFiles::EngineLoader loader();

  // Called as ZpArchive, with the path of the archive in the ANSI code page; its answer is the engine's. Without it: 0.
  std::function<int(const std::string& archive)> whileArchiving;

  // Hands a message to the print callback.
  void say(const std::string& text) const;

  // Whether the engine has QevArchive, too, as those of this generation do.
  bool takesWideNames = false;

  // The calls in their order: "load", "ZpInit", "ZpSetOptions", "ZpArchive" or "QevArchive".
  std::vector<std::string> calls;

  // What the last calls brought. The texts of the options are copied: the record's own last no longer than the call.
  ZIPUSERFUNCTIONS callbacks{};
  ZPOPT options{};
  std::optional<std::string> date;
  std::optional<std::string> root;
  int count = 0;
  std::string archive;
  std::vector<std::optional<std::string>> slots;  // all 100 of them; nothing for a null pointer
  std::vector<std::wstring> wide;                 // of QevArchive: the archive, the root, the names

  // The names handed over: the first `count` slots.
  std::vector<std::string> names() const;

 private:
  static int WINAPI ZpInit(ZIPUSERFUNCTIONS* functions);
  static BOOL WINAPI ZpSetOptions(ZPOPT* options);
  static int WINAPI ZpArchive(int argc, char* zipFileName, char** names);
  static int WINAPI QevArchive(int argc, const wchar_t* zipFileName, const wchar_t* root, const wchar_t* const* names);

  static RecordingEngine* current_;
};

}  // namespace qev::test
