// A set that is all there is told from one that has lost something, and from what is none.
#include "set/WholeSet.h"

#include <gtest/gtest.h>

#include "support/ErrorOf.h"
#include "support/GoldenSet.h"
#include "support/ZipWriter.h"

namespace qev::test {
namespace {

std::string archive(const ZipLayout& layout = {}) {
  return zipOf({storedEntry("Prog/Datos/a.db", "uno\r\ndos"), deflatedEntry("Prog/Datos/b.db", "tres"),
                storedEntry("Prog/Util.mde", std::string(3000, 'u'))},
               layout);
}

class WholeSetTest : public testing::Test {
 protected:
  bool isWhole(FileContent content) {
    files_.putContent(kSetPath, std::move(content));
    return readsWhole(*files_.openForReading(kSetPath));
  }
  bool isWhole(std::string_view bytes) { return isWhole(FileContent(bytes)); }

  FakeFiles files_;
};

TEST_F(WholeSetTest, AHeaderAndAnArchiveAreASet) {
  EXPECT_TRUE(isWhole(golden() + archive()));
  EXPECT_TRUE(isWhole(golden() + archive({"", "comentario", true, {}, {}})));
  EXPECT_TRUE(isWhole(utf8Of(L"Programa : Año;otra cosa") + "\r\n" + archive()));
}

TEST_F(WholeSetTest, OneThatLacksBytesAnywhereIsNotWhole) {
  const std::string set = golden() + archive();
  for (std::size_t at = 0; at < set.size(); ++at) {
    EXPECT_FALSE(isWhole(set.substr(0, at))) << "cut at " << at;
    EXPECT_FALSE(isWhole(set.substr(at + 1))) << "begins at " << at + 1;
  }
  const std::size_t directory = set.find("PK\x01\x02");
  for (std::size_t at = golden().size(); at < directory; at += 7) {
    EXPECT_FALSE(isWhole(set.substr(0, at) + set.substr(at + 7))) << "lost at " << at;
  }
}

TEST_F(WholeSetTest, OneWithBytesTooManyIsNotWhole) {
  EXPECT_FALSE(isWhole(golden() + "x" + archive()));
  EXPECT_FALSE(isWhole(golden() + golden() + archive())) << "two headers";
  EXPECT_FALSE(isWhole(golden() + archive() + "x"));
}

TEST_F(WholeSetTest, AnArchiveAloneAHeaderAloneAndAnArchiveOfNothingAreNone) {
  EXPECT_FALSE(isWhole(archive()));
  EXPECT_FALSE(isWhole(golden()));
  EXPECT_FALSE(isWhole(golden() + zipOf({})));
  EXPECT_FALSE(isWhole(""));
  EXPECT_FALSE(isWhole("Programa : Gestion\n" + archive()));
}

TEST_F(WholeSetTest, OfALargeSetItsEndsAloneAreRead) {
  FileContent content{golden()};
  content.appendRun('z', std::uint64_t{3} << 30);
  const std::string end = archive({"", "", true, {}, std::uint64_t{3} << 30});
  content.append(end.substr(end.find("PK\x01\x02")));
  EXPECT_TRUE(isWhole(std::move(content)));
  EXPECT_LE(files_.largestTransfer(), std::size_t{1} << 18);
  EXPECT_LT(files_.calls(), 30u);
}

TEST_F(WholeSetTest, WhatCannotBeReadIsAnErrorAtEveryCall) {
  files_.put(kSetPath, golden() + archive());
  int errors = 0;
  for (std::size_t call = 1;; ++call) {
    const auto reader = files_.openForReading(kSetPath);
    files_.failAt(call);
    bool whole = false;
    const std::int32_t error = numberOf([&] { whole = readsWhole(*reader); });
    files_.failAt(0);
    if (error == 0) {
      EXPECT_TRUE(whole);
      break;
    }
    EXPECT_EQ(error, 57);
    ++errors;
  }
  EXPECT_GT(errors, 5);
}

}  // namespace
}  // namespace qev::test
