// Widget logic without GL: text editing, slider mapping, typed numbers and colours.
#include "ui/widget_state.h"

#include <gtest/gtest.h>

namespace {

std::vector<uint32_t> cps(const std::string& s) { return decodeUtf8(s); }

TextKeys typed(const std::string& s) {
  TextKeys k;
  k.typed = cps(s);
  return k;
}

}  // namespace

TEST(TextEdit, CyrillicTypingBackspacePasteCommitAndCancel) {
  TextEdit e;
  beginEdit(e, "ab");
  e.allSelected = false;  // caret after the text, nothing selected
  EXPECT_EQ(applyTextKeys(e, typed("тест_сид")), EditOutcome::Changed);
  EXPECT_EQ(editText(e), "abтест_сид");
  // Backspace removes one whole Cyrillic letter, not one byte of it.
  TextKeys bs;
  bs.backspace = true;
  applyTextKeys(e, bs);
  EXPECT_EQ(editText(e), "abтест_си");
  EXPECT_EQ(e.caret, 9u);

  // Control characters among typed ones (the Backspace and Enter units) are
  // not inserted: the key flags carry those actions.
  TextKeys ctl = typed("x");
  ctl.typed.push_back(8);
  ctl.typed.push_back(13);
  applyTextKeys(e, ctl);
  EXPECT_EQ(editText(e), "abтест_сиx");

  TextKeys paste;
  paste.paste = true;
  paste.pasteText = "д\r\nя\t!";
  applyTextKeys(e, paste);
  EXPECT_EQ(editText(e), "abтест_сиxд я !");

  TextKeys enter;
  enter.enter = true;
  EXPECT_EQ(applyTextKeys(e, enter), EditOutcome::Committed);

  TextKeys esc = typed("zzz");
  esc.escape = true;
  esc.enter = true;
  EXPECT_EQ(applyTextKeys(e, esc), EditOutcome::Cancelled);
  EXPECT_EQ(editText(e), "ab");
}

TEST(TextEdit, FocusSelectsAllSoTypingReplacesIt) {
  TextEdit e;
  beginEdit(e, "classic");
  applyTextKeys(e, typed("тест"));
  EXPECT_EQ(editText(e), "тест");
  // Backspace on a fresh selection clears the field and deletes nothing more.
  beginEdit(e, "classic");
  TextKeys bs = typed("я");
  bs.backspace = true;
  applyTextKeys(e, bs);
  EXPECT_EQ(editText(e), "я");
}

TEST(TextEdit, BackspaceAtStartAndLengthLimit) {
  TextEdit e;
  e.maxLength = 3;
  beginEdit(e, "");
  TextKeys bs;
  bs.backspace = true;
  EXPECT_EQ(applyTextKeys(e, bs), EditOutcome::None);
  applyTextKeys(e, typed("жжжж"));
  EXPECT_EQ(editText(e), "жжж");
  // Insertion follows the caret.
  e.caret = 1;
  applyTextKeys(e, bs);
  applyTextKeys(e, typed("ы"));
  EXPECT_EQ(editText(e), "ыжж");
  EXPECT_EQ(e.caret, 1u);
}

TEST(Slider, ClickMapsCursorToValueWithinRange) {
  SliderSpec metal{0, 1, 2, "", false};
  EXPECT_DOUBLE_EQ(sliderValueAt(metal, 100, 200, 100), 0);
  EXPECT_DOUBLE_EQ(sliderValueAt(metal, 100, 200, 200), 0.5);
  EXPECT_DOUBLE_EQ(sliderValueAt(metal, 100, 200, 173), 0.37);  // rounded to its precision
  EXPECT_DOUBLE_EQ(sliderValueAt(metal, 100, 200, 20), 0);      // left of the track
  EXPECT_DOUBLE_EQ(sliderValueAt(metal, 100, 200, 999), 1);     // right of it

  SliderSpec rot{-180, 180, 0, "°", false};
  EXPECT_DOUBLE_EQ(sliderValueAt(rot, 0, 360, 180), 0);
  EXPECT_EQ(formatSliderValue(rot, -0.2), "0°");
  EXPECT_EQ(formatSliderValue(rot, 12.6), "13°");

  // A logarithmic track: the middle is the geometric mean.
  SliderSpec samples{1, 4096, 0, "", true};
  EXPECT_DOUBLE_EQ(sliderValueAt(samples, 0, 100, 50), 64);
  EXPECT_NEAR(sliderFraction(samples, 64), 0.5, 1e-12);
  // A range that is empty or reversed does not divide by zero.
  SliderSpec flat{2, 2, 1, "", false};
  EXPECT_EQ(sliderFraction(flat, 5), 0);
}

TEST(Slider, ShiftDragMovesTenTimesSlower) {
  SliderSpec s{0, 10, 2, "", false};
  // 20 px on a 200 px track is 1.0 at full speed, 0.1 with Shift.
  EXPECT_NEAR(sliderFineStep(s, 5, 20, 200), 5.1, 1e-12);
  EXPECT_NEAR(sliderFineStep(s, 5, -20, 200), 4.9, 1e-12);
  // Many tiny steps add up instead of each rounding away.
  double v = 5;
  for (int i = 0; i < 10; ++i) v = sliderFineStep(s, v, 0.2f, 200);
  EXPECT_NEAR(v, 5.01, 1e-6);
  EXPECT_DOUBLE_EQ(sliderFineStep(s, 9.99, 100, 200), 10);
}

TEST(Slider, TypedNumbers) {
  double v = -1;
  EXPECT_TRUE(parseNumber(" 0,75", v));
  EXPECT_DOUBLE_EQ(v, 0.75);
  EXPECT_TRUE(parseNumber("-12.5°", v));
  EXPECT_DOUBLE_EQ(v, -12.5);
  EXPECT_TRUE(parseNumber("3 °/с", v));
  EXPECT_DOUBLE_EQ(v, 3);
  v = 42;
  for (const char* bad : {"", "  ", "abc", "1.2.3", "1-2", "nan", "inf"}) {
    EXPECT_FALSE(parseNumber(bad, v)) << bad;
    EXPECT_EQ(v, 42);
  }
}

TEST(ColourField, OnlySixHexDigitsAreAccepted) {
  std::string out = "#000000";
  EXPECT_TRUE(normaliseHexColour(" #A1b2C3 ", out));
  EXPECT_EQ(out, "#A1b2C3");
  EXPECT_TRUE(normaliseHexColour("ff00aa", out));
  EXPECT_EQ(out, "#ff00aa");
  for (const char* bad : {"#abc", "#12345g", "#1234567", "red", "", "##12345"}) {
    out = "#000000";
    EXPECT_FALSE(normaliseHexColour(bad, out)) << bad;
    EXPECT_EQ(out, "#000000");
  }
  EXPECT_TRUE(isHexColour("#5A4FC8"));
  EXPECT_FALSE(isHexColour("5A4FC8"));
}
