// The drawing routine of the entry controls, pixel by pixel in a bitmap.
#include "controls/DrawBox.h"

#include <gtest/gtest.h>

#include <vector>

#include "platform/Handle.h"

namespace qev {
namespace {

constexpr COLORREF kUntouched = RGB(1, 2, 3);

class DrawBoxTest : public ::testing::Test {
 protected:
  static constexpr int kWidth = 40;
  static constexpr int kHeight = 30;

  DrawBoxTest() {
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = kWidth;
    info.bmiHeader.biHeight = -kHeight;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    bitmap_.reset(CreateDIBSection(device_.get(), &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    former_ = SelectObject(device_.get(), bitmap_.get());
    RECT all{0, 0, kWidth, kHeight};
    const UniqueBrush brush(CreateSolidBrush(kUntouched));
    FillRect(device_.get(), &all, brush.get());
  }
  ~DrawBoxTest() override { SelectObject(device_.get(), former_); }

  COLORREF at(int x, int y) { return GetPixel(device_.get(), x, y); }

  // The box (10, 5) to (29, 19).
  void draw(Color back, Color border, int style, const std::wstring& text = {}, UINT flags = 0, Margins margins = {}) {
    DrawBox(device_.get(), 10, 5, 20, 15, back, border, style, text, flags, margins);
  }

  // How many pixels between the columns and rows, the last included, have other than the given colour.
  int othersIn(int left, int top, int right, int bottom, COLORREF color) {
    int others = 0;
    for (int y = top; y <= bottom; ++y) {
      for (int x = left; x <= right; ++x) others += at(x, y) != color;
    }
    return others;
  }

  void expectNothingOutside() {
    EXPECT_EQ(othersIn(0, 0, kWidth - 1, 4, kUntouched), 0);
    EXPECT_EQ(othersIn(0, 20, kWidth - 1, kHeight - 1, kUntouched), 0);
    EXPECT_EQ(othersIn(0, 0, 9, kHeight - 1, kUntouched), 0);
    EXPECT_EQ(othersIn(30, 0, kWidth - 1, kHeight - 1, kUntouched), 0);
  }

  UniqueMemoryDc device_{CreateCompatibleDC(nullptr)};
  UniqueBitmap bitmap_;
  HGDIOBJ former_ = nullptr;
};

TEST_F(DrawBoxTest, FillsItsRectangleToTheLastPixelAndNothingElse) {
  draw(0x00FF00, kNoColor, 0);
  EXPECT_EQ(othersIn(10, 5, 29, 19, RGB(0, 255, 0)), 0);
  expectNothingOutside();
}

TEST_F(DrawBoxTest, WithoutABackColourItFillsNothing) {
  draw(kNoColor, kNoColor, 0);
  EXPECT_EQ(othersIn(0, 0, kWidth - 1, kHeight - 1, kUntouched), 0);
}

TEST_F(DrawBoxTest, AFlatBorderIsAOnePixelFrameOfItsColour) {
  draw(kWhite, 0x0000FF, kFlatBorder);
  EXPECT_EQ(othersIn(10, 5, 29, 5, RGB(255, 0, 0)), 0);
  EXPECT_EQ(othersIn(10, 19, 29, 19, RGB(255, 0, 0)), 0);
  EXPECT_EQ(othersIn(10, 5, 10, 19, RGB(255, 0, 0)), 0);
  EXPECT_EQ(othersIn(29, 5, 29, 19, RGB(255, 0, 0)), 0);
  EXPECT_EQ(othersIn(11, 6, 28, 18, kWhite), 0);
  expectNothingOutside();
}

TEST_F(DrawBoxTest, AFlatBorderWithoutAColourIsTheSystemsFlatEdge) {
  draw(kWhite, kNoColor, kFlatBorder);
  RECT box{10, 5, 30, 20};
  std::vector<COLORREF> drawn;
  for (int x = 10; x < 30; ++x) drawn.push_back(at(x, 5));
  FillRect(device_.get(), &box, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
  DrawEdge(device_.get(), &box, BDR_OUTER, BF_RECT | BF_FLAT);
  for (int x = 10; x < 30; ++x) EXPECT_EQ(drawn[static_cast<std::size_t>(x - 10)], at(x, 5));
  EXPECT_NE(at(10, 5), RGB(255, 255, 255));
}

TEST_F(DrawBoxTest, EveryOtherBorderStyleIsTheSystemsEdgeOfThatCode) {
  for (int style = 0; style <= 15; ++style) {
    if (style == kFlatBorder) continue;
    draw(kWhite, 0x0000FF, style);
    std::vector<COLORREF> drawn;
    for (int y = 5; y < 20; ++y) {
      for (int x = 10; x < 30; ++x) drawn.push_back(at(x, y));
    }
    RECT box{10, 5, 30, 20};
    FillRect(device_.get(), &box, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
    DrawEdge(device_.get(), &box, static_cast<UINT>(style), BF_RECT);
    std::size_t i = 0;
    int different = 0;
    for (int y = 5; y < 20; ++y) {
      for (int x = 10; x < 30; ++x) different += drawn[i++] != at(x, y);
    }
    EXPECT_EQ(different, 0) << style;
  }
  expectNothingOutside();
}

TEST_F(DrawBoxTest, ATextStaysWithinItsMargins) {
  draw(kWhite, kWhite, kFlatBorder, L"MMMMMMMM", DT_LEFT | DT_TOP, Margins{6, 4, 5, 3});
  EXPECT_GT(othersIn(16, 9, 24, 16, kWhite), 0);
  EXPECT_EQ(othersIn(10, 5, 15, 19, kWhite), 0);
  EXPECT_EQ(othersIn(25, 5, 29, 19, kWhite), 0);
  EXPECT_EQ(othersIn(10, 5, 29, 8, kWhite), 0);
  EXPECT_EQ(othersIn(10, 17, 29, 19, kWhite), 0);
}

TEST_F(DrawBoxTest, ATextWithoutALineBreakIsDrawnOnOneLine) {
  DrawBox(device_.get(), 0, 0, kWidth, kHeight, kWhite, kWhite, kFlatBorder, L"A A A A A A A A A A", DT_WORDBREAK);
  EXPECT_EQ(othersIn(1, kHeight / 2 + 4, kWidth - 2, kHeight - 2, kWhite), 0);
  DrawBox(device_.get(), 0, 0, kWidth, kHeight, kWhite, kWhite, kFlatBorder, L"\r\nAAAA", DT_WORDBREAK);
  EXPECT_GT(othersIn(1, kHeight / 2 + 1, kWidth - 2, kHeight - 2, kWhite), 0);
}

TEST_F(DrawBoxTest, LeavesNoGdiObjectBehind) {
  const auto objects = [] { return GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS); };
  draw(0x00FF00, 0x0000FF, kFlatBorder, L"x");
  const DWORD before = objects();
  for (int i = 0; i < 100; ++i) draw(0x00FF00, 0x0000FF, kFlatBorder, L"x");
  EXPECT_EQ(objects(), before);
}

TEST(TranslateColor, SystemColoursAreThoseFrom0To24) {
  for (int index = 0; index <= 24; ++index) {
    EXPECT_EQ(translateColor(kSystemColor + index), GetSysColor(index)) << index;
  }
  EXPECT_EQ(translateColor(kSystemColor + 25), 0x80000019U);
}

TEST(TranslateColor, AnyOtherColourIsUsedAsItIs) {
  EXPECT_EQ(translateColor(0), 0U);
  EXPECT_EQ(translateColor(0x123456), 0x123456U);
  EXPECT_EQ(translateColor(kWhite), 0xFFFFFFU);
}

}  // namespace
}  // namespace qev
