#include "UnzipFixture.h"

#include <cstring>
#include <stdexcept>

namespace qev::test {
namespace {

UnzipEngine* current = nullptr;

int WINAPI onPrint(char* message, unsigned long length) {
  current->calls.emplace_back(message, length);
  EXPECT_EQ(message[length], '\0');
  if (current->whilePrinting) current->whilePrinting();
  return 0;
}

int WINAPI onReplace(char* name) {
  current->replaceQuestions.emplace_back(name);
  return current->replaceAnswer;
}

int WINAPI onPassword(char* buffer, int size, const char*, const char* name) {
  current->passwordQuestions.emplace_back(name);
  EXPECT_EQ(buffer[0], '\0');
  if (current->password) strncpy(buffer, current->password->c_str(), static_cast<size_t>(size));
  return 0;
}

int WINAPI onEntry(unsigned long size, unsigned long packedSize, unsigned factor, unsigned month, unsigned day,
                   unsigned year, unsigned hour, unsigned minute, char check, char* name, char* method,
                   unsigned long crc, char encrypted) {
  current->listed.push_back(
      {size, packedSize, factor, month, day, year, hour, minute, check, name, method, crc, encrypted});
  return 0;
}

int WINAPI onService(const char* name, unsigned long size) {
  current->served.emplace_back(name, size);
  return current->serviceAnswer;
}

template <typename Function>
Function exported(HMODULE module, const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

std::vector<char*> slotsOf(std::vector<std::string>& names) {
  std::vector<char*> slots;
  for (std::string& name : names) slots.push_back(name.data());
  return slots;
}

}  // namespace

UnzipEngine::UnzipEngine() {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  const std::wstring program = path;
  module_ = LoadLibraryW((program.substr(0, program.rfind(L'\\') + 1) + L"VANTO6.DLL").c_str());
  if (module_ == nullptr) throw std::runtime_error("VANTO6.DLL is not beside the test program");
  unzip = exported<decltype(&Wiz_SingleEntryUnzip)>(module_, "Wiz_SingleEntryUnzip");
  version = exported<decltype(&UzpVersion2)>(module_, "UzpVersion2");
  setPatience = exported<decltype(&QevSetPatience)>(module_, "QevSetPatience");
  if (!unzip || !version || !setPatience) throw std::runtime_error("VANTO6.DLL lacks an export");
  setPatience(500, nullptr, nullptr);
  functions = USERFUNCTION{onPrint, nullptr, onReplace, onPassword, onEntry, onService, 0, 0, 0, 0, 0};
  options.ndflag = 1;
  options.noflag = 1;
  current = this;
}

UnzipEngine::~UnzipEngine() {
  FreeLibrary(module_);
  current = nullptr;
}

int UnzipEngine::run(const std::string& archive, const std::string& folder) {
  calls.clear();
  listed.clear();
  replaceQuestions.clear();
  passwordQuestions.clear();
  served.clear();
  std::string archiveCopy = archive;
  std::string folderCopy = folder;
  options.lpszZipFN = archiveCopy.data();
  options.lpszExtractDir = folderCopy.data();
  std::vector<char*> with = slotsOf(wanted);
  std::vector<char*> without = slotsOf(unwanted);
  return unzip(static_cast<int>(with.size()), with.data(), static_cast<int>(without.size()), without.data(), &options,
               &functions);
}

int UnzipEngine::list(const std::string& archive) {
  const DCL before = options;
  options.nvflag = 1;
  const int code = run(archive, "");
  options = before;
  return code;
}

std::string UnzipEngine::messages() const {
  std::string all;
  for (const std::string& call : calls) all += call;
  return all;
}

bool UnzipEngine::said(const std::string& text) const {
  return messages().find(text) != std::string::npos;
}

std::string contentOf(const std::wstring& path) {
  const HANDLE file =
      CreateFileW((L"\\\\?\\" + path).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    ADD_FAILURE() << "cannot read " << utf8(path) << ": error " << GetLastError();
    return "";
  }
  LARGE_INTEGER size{};
  GetFileSizeEx(file, &size);
  std::string bytes(static_cast<size_t>(size.QuadPart), '\0');
  DWORD got = 0;
  ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &got, nullptr);
  CloseHandle(file);
  EXPECT_EQ(got, bytes.size());
  return bytes;
}

bool exists(const std::wstring& path) {
  return GetFileAttributesW((L"\\\\?\\" + path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

}  // namespace qev::test
