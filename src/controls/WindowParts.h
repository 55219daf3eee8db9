// What windows are asked for again and again: their texts, their areas, their device contexts.
#pragma once

#include <windows.h>

#include <string>

namespace qev {

// The whole text of a window, "" for none. GetWindowTextW.
std::wstring textOf(HWND window);

// In pixels: of the client area, whose left and top are 0; on the screen; within the parent's client area.
RECT clientAreaOf(HWND window);
RECT screenAreaOf(HWND window);
RECT areaInParent(HWND window);

// The client device context of a window, or of the screen for null, for the length of a scope. GetDC.
class ClientDc {
 public:
  explicit ClientDc(HWND window) : window_(window), device_(GetDC(window)) {}
  ClientDc(const ClientDc&) = delete;
  ClientDc& operator=(const ClientDc&) = delete;
  ~ClientDc() { ReleaseDC(window_, device_); }
  HDC get() const { return device_; }

 private:
  HWND window_;
  HDC device_;
};

// The painting of a window, for the length of a scope. REQUIRES: within its WM_PAINT. BeginPaint.
class Painting {
 public:
  explicit Painting(HWND window) : window_(window), device_(BeginPaint(window, &painting_)) {}
  Painting(const Painting&) = delete;
  Painting& operator=(const Painting&) = delete;
  ~Painting() { EndPaint(window_, &painting_); }
  HDC device() const { return device_; }
  const RECT& area() const { return painting_.rcPaint; }  // what has to be painted

 private:
  HWND window_;
  PAINTSTRUCT painting_{};
  HDC device_;
};

}  // namespace qev
