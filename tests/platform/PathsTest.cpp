#include <gtest/gtest.h>

#include "platform/FileSystem.h"

namespace qev {
namespace {

TEST(PathsTest, TheParentIsTheFolderThatHoldsThePath) {
  EXPECT_EQ(parentFolderName(L"C:\\Prog\\Datos"), L"C:\\Prog");
  EXPECT_EQ(parentFolderName(L"C:\\Prog\\Datos\\Emp01\\a.txt"), L"C:\\Prog\\Datos\\Emp01");
  EXPECT_EQ(parentFolderName(L"Prog\\Datos"), L"Prog");
  EXPECT_EQ(parentFolderName(L"C:/Prog/Datos"), L"C:/Prog");
}

TEST(PathsTest, TrailingBackslashesAreIgnored) {
  EXPECT_EQ(parentFolderName(L"C:\\Prog\\Datos\\"), L"C:\\Prog");
  EXPECT_EQ(parentFolderName(L"C:\\Prog\\Datos\\\\"), L"C:\\Prog");
  EXPECT_EQ(parentFolderName(L"C:\\Prog\\\\Datos"), L"C:\\Prog");
  EXPECT_EQ(fileNamePart(L"C:\\Prog\\Datos\\"), L"Datos");
}

TEST(PathsTest, TwoLevelsAboveTheDataFolderIsTheProgramsFolder) {
  EXPECT_EQ(parentFolderName(parentFolderName(L"C:\\Prog\\Datos\\Emp01\\")), L"C:\\Prog");
}

TEST(PathsTest, TheParentOfAFirstLevelPathIsTheRoot) {
  EXPECT_EQ(parentFolderName(L"C:\\Prog"), L"C:\\");
  EXPECT_EQ(parentFolderName(L"C:\\Prog\\"), L"C:\\");
  EXPECT_EQ(parentFolderName(L"\\Prog"), L"\\");
  EXPECT_EQ(parentFolderName(L"C:Prog"), L"C:");
}

TEST(PathsTest, RootsDrivesAndBareNamesHaveNoParent) {
  for (const wchar_t* path :
       {L"C:\\", L"C:", L"Prog", L"", L"\\", L"\\\\", L"\\\\servidor\\datos", L"\\\\servidor\\datos\\"}) {
    EXPECT_EQ(parentFolderName(path), L"") << path;
  }
}

TEST(PathsTest, AShareIsARoot) {
  EXPECT_EQ(parentFolderName(L"\\\\servidor\\datos\\Emp01"), L"\\\\servidor\\datos");
  EXPECT_EQ(parentFolderName(L"\\\\servidor\\datos\\Emp01\\a.txt"), L"\\\\servidor\\datos\\Emp01");
  EXPECT_EQ(fileNamePart(L"\\\\servidor\\datos\\a.txt"), L"a.txt");
  EXPECT_EQ(fileNamePart(L"\\\\servidor\\datos"), L"");
}

TEST(PathsTest, TheDriveKeepsItsLetterCase) {
  EXPECT_EQ(driveName(L"A:\\Backup16-11-26.qev"), L"A:");
  EXPECT_EQ(driveName(L"a:\\Backup16-11-26.qev"), L"a:");
  EXPECT_EQ(driveName(L"C:"), L"C:");
  EXPECT_EQ(driveName(L"C:Datos"), L"C:");
}

TEST(PathsTest, ThePathOfAShareHasTheShareForItsDrive) {
  EXPECT_EQ(driveName(L"\\\\servidor\\datos\\Emp01\\"), L"\\\\servidor\\datos");
  EXPECT_EQ(driveName(L"\\\\servidor\\datos"), L"\\\\servidor\\datos");
}

TEST(PathsTest, APathWithoutDriveHasNone) {
  for (const wchar_t* path : {L"", L"Datos", L"\\Datos", L"\\\\servidor", L"\\\\servidor\\", L"A", L":"}) {
    EXPECT_EQ(driveName(path), L"") << path;
  }
}

TEST(PathsTest, TheFileNameIsTheLastPart) {
  EXPECT_EQ(fileNamePart(L"A:\\Backup16-11-26.qev"), L"Backup16-11-26.qev");
  EXPECT_EQ(fileNamePart(L"C:\\Prog\\Util.mde"), L"Util.mde");
  EXPECT_EQ(fileNamePart(L"C:Util.mde"), L"Util.mde");
  EXPECT_EQ(fileNamePart(L"Util.mde"), L"Util.mde");
  EXPECT_EQ(fileNamePart(L"C:\\"), L"");
  EXPECT_EQ(fileNamePart(L"C:"), L"");
  EXPECT_EQ(fileNamePart(L""), L"");
}

}  // namespace
}  // namespace qev
