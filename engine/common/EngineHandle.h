// Owners of what the system lends an engine: each gives it back when it goes, and leaves the last error as it is.
#pragma once

#include <windows.h>

#include <utility>

namespace qev::engine {

// `Kind` has none(), the value that stands for nothing, and giveBack() for all others.
template <typename Kind>
class Owner {
 public:
  Owner() = default;
  explicit Owner(HANDLE value) : value_(value) {}
  Owner(Owner&& other) noexcept : value_(other.release()) {}
  Owner& operator=(Owner&& other) noexcept {
    reset(other.release());
    return *this;
  }
  ~Owner() { reset(); }

  explicit operator bool() const { return value_ != Kind::none(); }
  HANDLE get() const { return value_; }
  HANDLE release() { return std::exchange(value_, Kind::none()); }
  void reset(HANDLE value = Kind::none()) {
    const HANDLE old = std::exchange(value_, value);
    if (old == Kind::none()) return;
    const DWORD error = GetLastError();
    Kind::giveBack(old);
    SetLastError(error);
  }

 private:
  HANDLE value_ = Kind::none();
};

struct FileKind {
  static HANDLE none() { return INVALID_HANDLE_VALUE; }
  static void giveBack(HANDLE file) { CloseHandle(file); }
};

struct ScanKind {
  static HANDLE none() { return INVALID_HANDLE_VALUE; }
  static void giveBack(HANDLE scan) { FindClose(scan); }
};

struct SectionKind {
  static HANDLE none() { return nullptr; }
  static void giveBack(HANDLE section) { CloseHandle(section); }
};

struct ViewKind {
  static HANDLE none() { return nullptr; }
  static void giveBack(HANDLE view) { UnmapViewOfFile(view); }
};

struct TokenKind {
  static HANDLE none() { return nullptr; }
  static void giveBack(HANDLE token) { CloseHandle(token); }
};

struct HeapKind {
  static HANDLE none() { return nullptr; }
  static void giveBack(HANDLE heap) { HeapDestroy(heap); }
};

struct PagesKind {
  static HANDLE none() { return nullptr; }
  static void giveBack(HANDLE pages) { VirtualFree(pages, 0, MEM_RELEASE); }
};

using File = Owner<FileKind>;        // CreateFileW
using Scan = Owner<ScanKind>;        // FindFirstFileW
using Section = Owner<SectionKind>;  // CreateFileMappingW
using View = Owner<ViewKind>;        // MapViewOfFile
using Token = Owner<TokenKind>;      // OpenProcessToken
using Heap = Owner<HeapKind>;        // HeapCreate
using Pages = Owner<PagesKind>;      // VirtualAlloc

}  // namespace qev::engine
