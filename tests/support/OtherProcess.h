// A second process: this program again, with one disabled test alone, which is killed sooner or later.
#pragma once

#include <windows.h>

#include <string>

#include "platform/Handle.h"

namespace qev::test {

class OtherProcess {
 public:
  // Starts the test of that name. What it is to do, it reads from variables of the environment that the caller has set.
  explicit OtherProcess(const std::wstring& test);
  OtherProcess(const OtherProcess&) = delete;
  OtherProcess& operator=(const OtherProcess&) = delete;
  ~OtherProcess() { kill(); }

  // Waits until it calls signal or signalAndSleep; false if it ends before.
  bool hasSignalled() const;

  HANDLE handle() const { return process_.get(); }

  void kill() const;

  // Waits until it has ended by itself.
  void wait() const;

  // In the other process: tells the first one.
  static void signal();

  // In the other process: tells the first one, and goes no further.
  [[noreturn]] static void signalAndSleep();

 private:
  UniqueHandle<KernelTraits> signal_;
  UniqueHandle<KernelTraits> process_;
};

}  // namespace qev::test
