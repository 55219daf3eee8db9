// Owners of system handles: each closes what it holds when it goes out of scope. And the module (DLL or program) that
// this code is linked into.
#pragma once

#include <windows.h>

#include <string>
#include <utility>

namespace qev {

// Owns one handle that `Traits::close` gives back; Traits::Type is the handle's type, Traits::none() the value of it
// that the functions which make such handles answer when they fail.
template <typename Traits>
class [[nodiscard]] UniqueHandle {
 public:
  using Type = typename Traits::Type;

  UniqueHandle() = default;
  explicit UniqueHandle(Type handle) : handle_(handle) {}
  UniqueHandle(UniqueHandle&& other) noexcept : handle_(other.release()) {}
  UniqueHandle& operator=(UniqueHandle&& other) noexcept {
    reset(other.release());
    return *this;
  }
  ~UniqueHandle() { reset(); }

  Type get() const { return handle_; }
  explicit operator bool() const { return handle_ != Traits::none(); }
  [[nodiscard]] Type release() { return std::exchange(handle_, Traits::none()); }
  void reset(Type handle = Traits::none()) {
    if (const Type old = std::exchange(handle_, handle); old != Traits::none()) Traits::close(old);
  }

 private:
  Type handle_ = Traits::none();
};

// What most functions answer when they fail.
template <typename HandleType>
struct NullIsNone {
  using Type = HandleType;
  static Type none() { return nullptr; }
};

// What CreateFile, FindFirstFile and CreateActCtx answer.
struct InvalidIsNone {
  using Type = HANDLE;
  static Type none() { return INVALID_HANDLE_VALUE; }
};

struct KernelTraits : NullIsNone<HANDLE> {
  static void close(HANDLE handle) { CloseHandle(handle); }
};

struct FileTraits : InvalidIsNone {
  static void close(HANDLE file) { CloseHandle(file); }
};

struct FindTraits : InvalidIsNone {
  static void close(HANDLE find) { FindClose(find); }
};

struct ActivationContextTraits : InvalidIsNone {
  static void close(HANDLE context) { ReleaseActCtx(context); }
};

struct KeyTraits : NullIsNone<HKEY> {
  static void close(HKEY key) { RegCloseKey(key); }
};

struct ModuleTraits : NullIsNone<HMODULE> {
  static void close(HMODULE module) { FreeLibrary(module); }
};

template <typename GdiType>
struct GdiTraits : NullIsNone<GdiType> {
  static void close(GdiType object) { DeleteObject(object); }
};

struct MemoryDcTraits : NullIsNone<HDC> {
  static void close(HDC dc) { DeleteDC(dc); }
};

struct IconTraits : NullIsNone<HICON> {
  static void close(HICON icon) { DestroyIcon(icon); }
};

struct ViewTraits : NullIsNone<void*> {
  static void close(void* view) { UnmapViewOfFile(view); }
};

struct TaskTextTraits : NullIsNone<wchar_t*> {
  static void close(wchar_t* text) { CoTaskMemFree(text); }
};

using UniqueKernelHandle = UniqueHandle<KernelTraits>;  // process, thread, event, mutex
using UniqueFile = UniqueHandle<FileTraits>;
using UniqueFind = UniqueHandle<FindTraits>;
using UniqueKey = UniqueHandle<KeyTraits>;
using UniqueModule = UniqueHandle<ModuleTraits>;
using UniqueActivationContext = UniqueHandle<ActivationContextTraits>;
using UniqueBrush = UniqueHandle<GdiTraits<HBRUSH>>;
using UniquePen = UniqueHandle<GdiTraits<HPEN>>;
using UniqueFont = UniqueHandle<GdiTraits<HFONT>>;
using UniqueBitmap = UniqueHandle<GdiTraits<HBITMAP>>;
using UniqueMemoryDc = UniqueHandle<MemoryDcTraits>;
using UniqueIcon = UniqueHandle<IconTraits>;
using UniqueView = UniqueHandle<ViewTraits>;          // of a mapped file
using UniqueTaskText = UniqueHandle<TaskTextTraits>;  // a text that COM has allocated

// The device context of a window's client area, or of the whole screen for no window, for the length of a scope.
class [[nodiscard]] WindowDc {
 public:
  explicit WindowDc(HWND window) : window_(window), dc_(GetDC(window)) {}
  WindowDc(const WindowDc&) = delete;
  WindowDc& operator=(const WindowDc&) = delete;
  ~WindowDc() { ReleaseDC(window_, dc_); }
  HDC get() const { return dc_; }

 private:
  HWND window_;
  HDC dc_;
};

// Selects an object into a device context for the length of a scope.
class [[nodiscard]] SelectedObject {
 public:
  SelectedObject(HDC dc, HGDIOBJ object) : dc_(dc), old_(SelectObject(dc, object)) {}
  SelectedObject(const SelectedObject&) = delete;
  SelectedObject& operator=(const SelectedObject&) = delete;
  ~SelectedObject() { SelectObject(dc_, old_); }

 private:
  HDC dc_;
  HGDIOBJ old_;
};

// Keeps the system's own dialogs for critical errors ("there is no disk in the drive") away: while one lives, what
// would bring up such a dialog on this thread answers with its error code. SetThreadErrorMode.
class [[nodiscard]] QuietDriveErrors {
 public:
  QuietDriveErrors() { SetThreadErrorMode(GetThreadErrorMode() | SEM_FAILCRITICALERRORS, &old_); }
  QuietDriveErrors(const QuietDriveErrors&) = delete;
  QuietDriveErrors& operator=(const QuietDriveErrors&) = delete;
  ~QuietDriveErrors() { SetThreadErrorMode(old_, nullptr); }

 private:
  DWORD old_ = 0;
};

// The module's handle, for resources and window classes. GetModuleHandleExW.
[[nodiscard]] HINSTANCE moduleInstance();

// Its full path. GetModuleFileNameW.
[[nodiscard]] std::wstring modulePath();

}  // namespace qev
