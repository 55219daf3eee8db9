// An unzip engine of the tests' own: it writes down what it is handed, and does what the test says in place of listing
// or extracting. One at a time; for one thread.
#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "zip/CUnzipFiles.h"
#include "zip/DllEngines.h"

namespace qev::test {

class RecordingUnzipEngine {
 public:
  RecordingUnzipEngine();
  RecordingUnzipEngine(const RecordingUnzipEngine&) = delete;
  RecordingUnzipEngine& operator=(const RecordingUnzipEngine&) = delete;
  ~RecordingUnzipEngine();

  // What CUnzipFiles takes. REQUIRES: the engine outlives what is given it.
  CUnzipFiles::EngineLoader loader();

  // Called as Wiz_SingleEntryUnzip; its answer is the engine's. Without it: 0.
  std::function<int()> whileUnzipping;

  // The callbacks as an engine calls them; each answers what the callback answered.
  int say(const std::string& text) const;
  int mayReplace(const std::string& name) const;
  int tellEntry(const std::string& name, unsigned long size = 1, unsigned month = 1, unsigned day = 5,
                unsigned year = 5, unsigned hour = 9, unsigned minute = 7) const;
  int serve(const std::string& name) const;

  struct Password {
    int answer = -1;
    std::string buffer;  // all bytes of it
  };
  // The buffer holds "?" in every byte before the call.
  Password askPassword(int size = 80) const;

  // The calls in their order: "load", "UzpVersion2", "Wiz_SingleEntryUnzip".
  std::vector<std::string> calls;

  // What the last calls brought. Texts are copied: the records' own last no longer than the call.
  UZPVER version{};
  DCL options{};
  std::optional<std::string> archive;
  std::optional<std::string> folder;
  USERFUNCTION functions{};
  int includeCount = -1;
  int excludeCount = -1;
  std::vector<std::optional<std::string>> included;  // all 100 slots; nothing for a null pointer
  std::vector<std::optional<std::string>> excluded;

 private:
  static int WINAPI UzpVersion2(UZPVER* version);
  static int WINAPI Wiz_SingleEntryUnzip(int ifnc, char** ifnv, int xfnc, char** xfnv, DCL* options,
                                         USERFUNCTION* functions);

  static RecordingUnzipEngine* current_;
};

}  // namespace qev::test
