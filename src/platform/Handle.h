// Owners of system handles: each closes what it holds when it goes out of scope.
#pragma once

#include <windows.h>

#include <utility>

namespace qev {

// Owns one handle that `Traits::close` gives back; Traits::Type is the handle's type, its null value means "none".
template <typename Traits>
class UniqueHandle {
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
  explicit operator bool() const { return handle_ != Type{}; }
  Type release() { return std::exchange(handle_, Type{}); }
  void reset(Type handle = Type{}) {
    if (const Type old = std::exchange(handle_, handle); old != Type{}) Traits::close(old);
  }

 private:
  Type handle_{};
};

struct KernelTraits {
  using Type = HANDLE;
  static void close(HANDLE handle) { CloseHandle(handle); }
};

struct FindTraits {
  using Type = HANDLE;
  static void close(HANDLE handle) { FindClose(handle); }
};

struct KeyTraits {
  using Type = HKEY;
  static void close(HKEY key) { RegCloseKey(key); }
};

struct ModuleTraits {
  using Type = HMODULE;
  static void close(HMODULE module) { FreeLibrary(module); }
};

struct ActivationContextTraits {
  using Type = HANDLE;
  static void close(HANDLE context) { ReleaseActCtx(context); }
};

template <typename GdiType>
struct GdiTraits {
  using Type = GdiType;
  static void close(GdiType object) { DeleteObject(object); }
};

struct MemoryDcTraits {
  using Type = HDC;
  static void close(HDC dc) { DeleteDC(dc); }
};

struct IconTraits {
  using Type = HICON;
  static void close(HICON icon) { DestroyIcon(icon); }
};

using UniqueFile = UniqueHandle<KernelTraits>;  // never holds INVALID_HANDLE_VALUE: see validHandle
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

// Takes over what CreateFile, FindFirstFile and CreateActCtx answer, their failure value as "none".
template <typename Owner>
Owner validHandle(HANDLE handle) {
  return Owner(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

// Selects an object into a device context for the length of a scope.
class SelectedObject {
 public:
  SelectedObject(HDC dc, HGDIOBJ object) : dc_(dc), old_(SelectObject(dc, object)) {}
  SelectedObject(const SelectedObject&) = delete;
  SelectedObject& operator=(const SelectedObject&) = delete;
  ~SelectedObject() { SelectObject(dc_, old_); }

 private:
  HDC dc_;
  HGDIOBJ old_;
};

}  // namespace qev
