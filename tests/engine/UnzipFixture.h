// What the tests of the unzip engine share: the engine, loaded from beside the test program, with callbacks that
// record.
#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "EngineFixture.h"
#include "Vanto6.h"

namespace qev::test {

// The calls of the service callback: names and sizes.
using Served = std::vector<std::pair<std::string, unsigned long>>;

// One call of the listing callback.
struct Listed {
  unsigned long size;
  unsigned long packedSize;
  unsigned factor;
  unsigned month, day, year, hour, minute;
  char check;
  std::string name;
  std::string method;
  unsigned long checksum;
  char encrypted;
};

// VANTO6.DLL, for the time of one object. Its options are those of an extraction that overwrites.
class UnzipEngine {
 public:
  UnzipEngine();
  ~UnzipEngine();
  UnzipEngine(const UnzipEngine&) = delete;
  UnzipEngine& operator=(const UnzipEngine&) = delete;

  // Extracts (or whatever `options` say) and answers the engine's code. What the run before recorded is forgotten.
  int run(const std::string& archive, const std::string& folder);

  // Lists, whatever `options` say.
  int list(const std::string& archive);

  std::string messages() const;
  bool said(const std::string& text) const;

  DCL options{};
  std::vector<std::string> wanted;
  std::vector<std::string> unwanted;
  std::optional<std::string> password;  // nothing: the callback leaves the buffer empty
  int replaceAnswer = UZ_REPLACE_NO;
  int serviceAnswer = 0;
  std::function<void()> whilePrinting;

  std::vector<std::string> calls;  // what each call of the print callback brought
  std::vector<Listed> listed;
  std::vector<std::string> replaceQuestions;
  std::vector<std::string> passwordQuestions;
  Served served;

  decltype(&Wiz_SingleEntryUnzip) unzip = nullptr;
  decltype(&UzpVersion2) version = nullptr;
  decltype(&QevSetPatience) setPatience = nullptr;  // half a second
  USERFUNCTION functions{};

 private:
  HMODULE module_ = nullptr;
};

// A file's bytes; fails the test if it cannot be read. Any path length.
std::string contentOf(const std::wstring& path);

bool exists(const std::wstring& path);

}  // namespace qev::test
