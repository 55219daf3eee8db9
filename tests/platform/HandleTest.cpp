// Owners of handles know what the system answers when there is none.
#include "platform/Handle.h"

#include <gtest/gtest.h>

#include "support/TemporaryFolder.h"

namespace qev::test {
namespace {

HANDLE open(const std::wstring& path, DWORD how) {
  return CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, how, FILE_ATTRIBUTE_NORMAL, nullptr);
}

TEST(HandleTest, WhatCouldNotBeOpenedIsNone) {
  const TemporaryFolder folder;
  WIN32_FIND_DATAW entry{};
  ACTCTXW request{};
  request.cbSize = sizeof request;
  EXPECT_FALSE(UniqueFile(open(folder / L"nada", OPEN_EXISTING)));
  EXPECT_FALSE(UniqueFind(FindFirstFileW((folder / L"nada").c_str(), &entry)));
  EXPECT_FALSE(UniqueActivationContext(CreateActCtxW(&request)));
  EXPECT_FALSE(UniqueKernelHandle(OpenMutexW(SYNCHRONIZE, FALSE, L"QevBackup-nada")));
  EXPECT_FALSE(UniqueFile());
}

TEST(HandleTest, AFileIsClosedByItsOnlyOwner) {
  const TemporaryFolder folder;
  const std::wstring path = folder / L"uno";
  UniqueFile first(open(path, CREATE_NEW));
  ASSERT_TRUE(first);
  UniqueFile second = std::move(first);
  EXPECT_FALSE(first);
  EXPECT_TRUE(second);
  EXPECT_FALSE(UniqueFile(open(path, OPEN_EXISTING)));  // open already
  second.reset();
  EXPECT_FALSE(second);
  EXPECT_TRUE(UniqueFile(open(path, OPEN_EXISTING)));
}

}  // namespace
}  // namespace qev::test
