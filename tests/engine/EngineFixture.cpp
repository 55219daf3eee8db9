#include "EngineFixture.h"

#include <algorithm>
#include <fstream>

namespace qev::test {

namespace {

Engine* current = nullptr;

int WINAPI print(char* message, unsigned long length) {
  current->calls.emplace_back(message, length);
  EXPECT_EQ(message[length], '\0');
  if (current->whilePrinting != nullptr) current->whilePrinting();
  return 0;
}

template <typename Function>
Function exported(HMODULE module, const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

std::wstring besideTheTest(const wchar_t* name) {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  const std::wstring program = path;
  return program.substr(0, program.rfind(L'\\') + 1) + name;
}

// Lifts the limit on the length of a path.
std::wstring lifted(const std::wstring& path) {
  return L"\\\\?\\" + path;
}

void removeTree(const std::wstring& path) {
  WIN32_FIND_DATAW data;
  const HANDLE scan = FindFirstFileW(lifted(path + L"\\*").c_str(), &data);
  if (scan != INVALID_HANDLE_VALUE) {
    do {
      const std::wstring name = data.cFileName;
      if (name == L"." || name == L"..") continue;
      const std::wstring inner = path + L"\\" + name;
      SetFileAttributesW(lifted(inner).c_str(), FILE_ATTRIBUTE_NORMAL);
      if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        removeTree(inner);
      } else {
        DeleteFileW(lifted(inner).c_str());
      }
    } while (FindNextFileW(scan, &data));
    FindClose(scan);
  }
  RemoveDirectoryW(lifted(path).c_str());
}

uint64_t number(const std::string& bytes, size_t at, size_t size) {
  uint64_t value = 0;
  for (size_t index = size; index-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes.at(at + index));
  return value;
}

}  // namespace

Engine::Engine() {
  module_ = LoadLibraryW(besideTheTest(L"VANTO5.DLL").c_str());
  if (module_ == nullptr) throw std::runtime_error("VANTO5.DLL is not beside the test program");
  init = exported<decltype(&ZpInit)>(module_, "ZpInit");
  setOptions = exported<decltype(&ZpSetOptions)>(module_, "ZpSetOptions");
  getOptions = exported<decltype(&ZpGetOptions)>(module_, "ZpGetOptions");
  archive = exported<decltype(&ZpArchive)>(module_, "ZpArchive");
  archiveWide = exported<decltype(&QevArchive)>(module_, "QevArchive");
  if (init == nullptr || setOptions == nullptr || getOptions == nullptr || archive == nullptr ||
      archiveWide == nullptr) {
    throw std::runtime_error("VANTO5.DLL lacks an export");
  }
  functions.print = print;
  current = this;
}

Engine::~Engine() {
  FreeLibrary(module_);
  current = nullptr;
}

int Engine::run(const std::string& archiveName, const std::vector<std::string>& names) {
  calls.clear();
  init(&functions);
  setOptions(&options);
  std::string target = archiveName;
  std::vector<std::string> copies = names;
  std::vector<char*> slots;
  for (std::string& name : copies) slots.push_back(name.data());
  return archive(static_cast<int>(slots.size()), target.data(), slots.data());
}

int Engine::runWide(const std::wstring& archiveName, const std::vector<std::wstring>& names, const std::wstring& root) {
  calls.clear();
  init(&functions);
  setOptions(&options);
  std::vector<const wchar_t*> slots;
  for (const std::wstring& name : names) slots.push_back(name.c_str());
  return archiveWide(static_cast<int>(slots.size()), archiveName.c_str(), root.empty() ? nullptr : root.c_str(),
                     slots.data());
}

std::string Engine::messages() const {
  std::string all;
  for (const std::string& call : calls) all += call;
  return all;
}

bool Engine::said(const std::string& text) const {
  return messages().find(text) != std::string::npos;
}

Folder::Folder() {
  wchar_t temporary[MAX_PATH];
  GetTempPathW(MAX_PATH, temporary);
  static int serial = 0;
  path_ = std::wstring(temporary) + L"qevengine" + std::to_wstring(GetCurrentProcessId()) + L"_" +
          std::to_wstring(++serial);
  CreateDirectoryW(path_.c_str(), nullptr);
}

Folder::~Folder() {
  removeTree(path_);
}

std::wstring Folder::wide(const std::wstring& relative) const {
  return relative.empty() ? path_ : path_ + L"\\" + relative;
}

std::string Folder::operator/(const std::string& relative) const {
  return ansi(path_) + (relative.empty() ? "" : "\\" + relative);
}

void Folder::make(const std::wstring& relative) const {
  for (size_t at = relative.find(L'\\'); at != std::wstring::npos; at = relative.find(L'\\', at + 1)) {
    CreateDirectoryW(lifted(wide(relative.substr(0, at))).c_str(), nullptr);
  }
  CreateDirectoryW(lifted(wide(relative)).c_str(), nullptr);
}

void Folder::write(const std::wstring& relative, const std::string& content) const {
  const size_t separator = relative.rfind(L'\\');
  if (separator != std::wstring::npos) make(relative.substr(0, separator));
  const HANDLE file = CreateFileW(lifted(wide(relative)).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE) << "cannot write " << utf8(relative) << ": error " << GetLastError();
  DWORD written = 0;
  WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr);
  CloseHandle(file);
  ASSERT_EQ(written, content.size());
}

void Folder::clear(const std::wstring& relative) const {
  removeTree(wide(relative));
  make(relative);
}

std::vector<std::wstring> Folder::list(const std::wstring& relative) const {
  std::vector<std::wstring> names;
  WIN32_FIND_DATAW data;
  const HANDLE scan = FindFirstFileW(lifted(wide(relative) + L"\\*").c_str(), &data);
  if (scan == INVALID_HANDLE_VALUE) return names;
  do {
    const std::wstring name = data.cFileName;
    if (name != L"." && name != L"..") names.push_back(name);
  } while (FindNextFileW(scan, &data));
  FindClose(scan);
  std::sort(names.begin(), names.end());
  return names;
}

std::map<std::string, Entry> entriesOf(const std::string& archive) {
  std::map<std::string, Entry> entries;
  const std::string bytes = readFile(archive);
  const size_t end = bytes.rfind("PK\5\6");
  if (end == std::string::npos || end + 22 > bytes.size()) {
    ADD_FAILURE() << archive << " has no end record";
    return entries;
  }
  const size_t count = number(bytes, end + 10, 2);
  const size_t start = number(bytes, end + 16, 4);
  EXPECT_EQ(start + number(bytes, end + 12, 4), end) << "the directory's size or place is wrong";
  size_t at = start;
  for (size_t index = 0; index < count; ++index) {
    if (bytes.compare(at, 4, "PK\1\2") != 0) {
      ADD_FAILURE() << archive << " has a broken directory";
      return {};
    }
    const size_t nameLength = number(bytes, at + 28, 2);
    Entry entry{};
    entry.flags = static_cast<uint16_t>(number(bytes, at + 8, 2));
    entry.method = static_cast<uint16_t>(number(bytes, at + 10, 2));
    entry.checksum = static_cast<uint32_t>(number(bytes, at + 16, 4));
    entry.packed = number(bytes, at + 20, 4);
    entry.size = number(bytes, at + 24, 4);
    entries[bytes.substr(at + 46, nameLength)] = entry;
    at += 46 + nameLength + number(bytes, at + 30, 2) + number(bytes, at + 32, 2);
  }
  EXPECT_EQ(at, end);
  return entries;
}

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  std::string bytes(file ? static_cast<size_t>(file.tellg()) : 0, '\0');
  file.seekg(0);
  file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return bytes;
}

namespace {

std::string narrow(const std::wstring& text, UINT codePage) {
  std::string result(text.size() * 4, '\0');
  const int size = WideCharToMultiByte(codePage, 0, text.data(), static_cast<int>(text.size()), result.data(),
                                       static_cast<int>(result.size()), nullptr, nullptr);
  result.resize(static_cast<size_t>(size));
  return result;
}

}  // namespace

std::string utf8(const std::wstring& text) {
  return narrow(text, CP_UTF8);
}

std::string ansi(const std::wstring& text) {
  return narrow(text, CP_ACP);
}

std::string someText(size_t size) {
  std::string text;
  text.reserve(size + 16);
  uint32_t state = 1;
  while (text.size() < size) {
    state = state * 1664525u + 1013904223u;
    text += std::to_string(state % 100000);
    text += ' ';
  }
  text.resize(size);
  return text;
}

}  // namespace qev::test
