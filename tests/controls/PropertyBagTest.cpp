// Where saved properties are kept, and the font among them.
#include "controls/PropertyBag.h"

#include <gtest/gtest.h>

#include "controls/ControlFont.h"
#include "platform/AutomationError.h"

namespace qev {
namespace {

TEST(PropertyBag, WhatIsNotSavedReadsAsTheDefault) {
  MemoryPropertyBag bag;
  EXPECT_EQ(bag.read(L"BackColor", std::int32_t{16777215}), Value(std::int32_t{16777215}));
}

TEST(PropertyBag, AValueThatEqualsTheDefaultTakesNoPlace) {
  MemoryPropertyBag bag;
  bag.write(L"Locked", false, false);
  EXPECT_TRUE(bag.values().empty());
}

TEST(PropertyBag, SavingTheDefaultForgetsWhatWasSaved) {
  MemoryPropertyBag bag;
  bag.write(L"Locked", true, false);
  EXPECT_EQ(bag.read(L"Locked", false), Value(true));
  bag.write(L"Locked", false, false);
  EXPECT_TRUE(bag.values().empty());
}

TEST(FormProperties, GivesEachControlItsOwnProperties) {
  FormProperties properties =
      FormProperties::parse("\xEF\xBB\xBF# nota\r\n\r\nUno.Text= a=b \r\nDos.Text=a\xC3\xB1o\n");
  EXPECT_EQ(properties.of(L"Uno").read(L"Text", Empty{}), Value(L" a=b "));
  EXPECT_EQ(properties.of(L"Dos").read(L"Text", Empty{}), Value(L"año"));
  EXPECT_EQ(properties.of(L"Tres").read(L"Text", L"-"), Value(L"-"));
}

TEST(FormProperties, AnEmptyResourceHasNone) {
  EXPECT_EQ(FormProperties::parse("").of(L"Uno").read(L"Text", L"-"), Value(L"-"));
}

TEST(FormProperties, RefusesALineInAnotherFormat) {
  for (const auto* line : {"Uno", "Uno.Text", "Uno=1", ".Text=1", "Uno.=1", "=1", "Uno=a.b"}) {
    EXPECT_THROW(FormProperties::parse(line), AutomationError) << line;
  }
}

TEST(FormProperties, RefusesAResourceThatIsNotThere) {
  EXPECT_THROW(FormProperties::load(nullptr, L"NINGUNO"), AutomationError);
}

TEST(ControlFont, IsSavedAsTextAndReadBack) {
  const ControlFont plain{L"MS Sans Serif", 8.25, false, false, false, false};
  const ControlFont rich{L"Arial", 12, true, true, true, true};
  EXPECT_EQ(plain.toText(), L"MS Sans Serif; 8.25");
  EXPECT_EQ(rich.toText(), L"Arial; 12; bold; italic; underline; strikethrough");
  EXPECT_EQ(ControlFont::fromText(plain.toText()), plain);
  EXPECT_EQ(ControlFont::fromText(rich.toText()), rich);
}

TEST(ControlFont, ATextWithoutNameOrSizeIsNone) {
  for (const auto* text : {L"", L"Arial", L"; 9", L"Arial; 0", L"Arial; -3", L"Arial; x"}) {
    EXPECT_FALSE(ControlFont::fromText(text).has_value());
  }
}

TEST(ControlFont, DescribesTheFontItMade) {
  const ControlFont font{L"Arial", 9, true, false, true, false};
  const UniqueFont made = font.create(96);
  EXPECT_EQ(ControlFont::of(made.get(), 96), font);
}

}  // namespace
}  // namespace qev
