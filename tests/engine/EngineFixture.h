// What the tests of the zip engine share: the engine, loaded from beside the test program, a folder of the test's own,
// and a reader of an archive's directory.
#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "Vanto5.h"
#include "gtest/gtest.h"

namespace qev::test {

// VANTO5.DLL, for the time of one object. The messages of its runs are collected.
class Engine {
 public:
  Engine();
  ~Engine();
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  // Archives `names` to `archive` and answers the engine's code. The messages of the run replace those of the one
  // before.
  int run(const std::string& archive, const std::vector<std::string>& names);

  // The same by QevArchive. An empty root is none.
  int runWide(const std::wstring& archive, const std::vector<std::wstring>& names, const std::wstring& root = L"");

  bool said(const std::string& text) const;
  std::string messages() const;

  HMODULE module() const { return module_; }

  ZPOPT options{};
  std::vector<std::string> calls;  // what each call of the print callback brought
  void (*whilePrinting)() = nullptr;

  decltype(&ZpInit) init = nullptr;
  decltype(&ZpSetOptions) setOptions = nullptr;
  decltype(&ZpGetOptions) getOptions = nullptr;
  decltype(&ZpArchive) archive = nullptr;
  decltype(&QevArchive) archiveWide = nullptr;
  ZIPUSERFUNCTIONS functions{};

 private:
  HMODULE module_ = nullptr;
};

// A folder of the test's own, deleted with all its contents in the end.
class Folder {
 public:
  Folder();
  ~Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  // The full path of a file in it, given by its path from here ("Datos\\a.txt").
  std::wstring wide(const std::wstring& relative) const;
  std::string operator/(const std::string& relative) const;

  void make(const std::wstring& relative) const;  // a folder, with those above it
  void write(const std::wstring& relative, const std::string& content) const;

  void clear(const std::wstring& relative) const;  // removes all that is in it

  // The names in a folder, without "." and "..".
  std::vector<std::wstring> list(const std::wstring& relative) const;

 private:
  std::wstring path_;
};

struct Entry {
  uint32_t checksum;  // CRC-32
  uint64_t size;      // bytes, unpacked
  uint64_t packed;    // bytes, packed
  uint16_t method;
  uint16_t flags;
};

// The entries of an archive by their names as stored, read from its central directory. Adds a test failure, and answers
// nothing, if the file has no well-formed directory.
std::map<std::string, Entry> entriesOf(const std::string& archive);

std::string readFile(const std::string& path);

std::string utf8(const std::wstring& text);
std::string ansi(const std::wstring& text);

// Text of `size` bytes that packs to about half of it.
std::string someText(size_t size);

}  // namespace qev::test
