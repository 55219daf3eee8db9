// The directory of an archive, right ones, cut ones and hostile ones.
#include "zip/ZipDirectory.h"

#include <gtest/gtest.h>

#include <random>

#include "support/FakeFiles.h"
#include "support/ZipWriter.h"

namespace qev::test {
namespace {

std::optional<std::vector<ZipDirectoryEntry>> directoryOf(const std::string& bytes) {
  FakeFiles files;
  files.put(L"C:\\a.zip", bytes);
  return readZipDirectory(*files.openForReading(L"C:\\a.zip"));
}

std::string sample(const ZipLayout& layout = {}) {
  ZipEntry large = storedEntry("grande.db", "x");
  large.size = large.packedSize = 5'000'000'000;
  large.isZip64 = true;
  return zipOf({storedEntry("a.txt", "uno"), deflatedEntry("Datos/b.txt", "dos y dos"), large}, layout);
}

void expectSample(const std::string& bytes) {
  const auto entries = directoryOf(bytes);
  ASSERT_TRUE(entries);
  ASSERT_EQ(3u, entries->size());
  EXPECT_EQ("a.txt", (*entries)[0].name);
  EXPECT_EQ(3u, (*entries)[0].size);
  EXPECT_EQ("Datos/b.txt", (*entries)[1].name);
  EXPECT_EQ(9u, (*entries)[1].size);
  EXPECT_EQ(5'000'000'000u, (*entries)[2].size);
}

TEST(ZipDirectory, ListsNamesAndLengths) {
  expectSample(sample());
}

TEST(ZipDirectory, IsFoundBehindTheHeaderOfASet) {
  expectSample("Programa : Gestion;\r\n" + sample());
  expectSample(sample({"bytes before", "", false, {}, {}}));
}

TEST(ZipDirectory, IsFoundBehindACommentAndThroughALargeEndRecord) {
  expectSample(sample({"", std::string(65'535, 'c'), false, {}, {}}));
  expectSample(sample({"", "", true, {}, {}}));
  expectSample("Programa : Gestion;\r\n" + sample({"", "", true, {}, {}}));
}

TEST(ZipDirectory, OfAnEmptyArchiveIsEmpty) {
  const auto entries = directoryOf(zipOf({}));
  ASSERT_TRUE(entries);
  EXPECT_TRUE(entries->empty());
}

TEST(ZipDirectory, OfWhatIsNoArchiveIsNone) {
  EXPECT_FALSE(directoryOf(""));
  EXPECT_FALSE(directoryOf("PK"));
  EXPECT_FALSE(directoryOf(std::string(100'000, 'P')));
}

TEST(ZipDirectory, ThatPromisesMoreThanThereIsIsNone) {
  EXPECT_FALSE(directoryOf(sample({"", "", false, 4, {}})));
  EXPECT_FALSE(directoryOf(sample({"", "", false, 65'534, {}})));
  EXPECT_FALSE(directoryOf(sample({"", "", true, ~0ull, {}})));
  EXPECT_FALSE(directoryOf(sample({"", "", false, {}, 4'000'000'000})));
}

TEST(ZipDirectory, OfAnArchiveCutAnywhereIsNone) {
  const std::string whole = sample();
  for (std::size_t size = 0; size < whole.size(); ++size) EXPECT_FALSE(directoryOf(whole.substr(0, size))) << size;
}

TEST(ZipDirectory, StandsAnyByteBeingAnother) {
  std::mt19937 random(4);
  for (const bool isZip64 : {false, true}) {
    const std::string whole = sample({"", "", isZip64, {}, {}});
    for (std::size_t i = 0; i < whole.size(); ++i) {
      std::string broken = whole;
      broken[i] = static_cast<char>(random());
      const auto entries = directoryOf(broken);
      EXPECT_TRUE(!entries || entries->size() <= 4);
    }
  }
}

TEST(ZipDirectory, AnArchiveEndsWithItsEndRecordAndASliceOfOneDoesNot) {
  FakeFiles files;
  const std::string whole = sample();
  files.put(L"C:\\whole", whole);
  files.put(L"C:\\slice", whole.substr(0, whole.size() - 1));
  EXPECT_TRUE(endsWithZipEnd(*files.openForReading(L"C:\\whole")));
  EXPECT_FALSE(endsWithZipEnd(*files.openForReading(L"C:\\slice")));
}

}  // namespace
}  // namespace qev::test
