#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/font.h"
#include "platform/toolkit/font_registry.h"
#include "platform/toolkit/label.h"
#include "platform/toolkit/snapshot.h"
#include "platform/toolkit/text_field.h"
#include "platform/toolkit/text_view.h"
#include "platform/toolkit/window.h"

namespace talvero::toolkit {
namespace {

const Color kBlack{0, 0, 0, 1};
const Color kRed{1, 0, 0, 1};
const Color kBlue{0, 0, 1, 1};
const Color kWhite{1, 1, 1, 1};
const std::filesystem::path kDejaVu = "/usr/share/fonts/truetype/dejavu";

class TextTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(initToolkit()) << "no display: run under xvfb-run"; }
};

// Columns [left, right) and rows [top, bottom) of a bitmap.
struct Area {
  int left = 0, top = 0, right = 1 << 30, bottom = 1 << 30;
};

// The box around the pixels that match.
struct Ink {
  int left = 1 << 30, top = 1 << 30, right = -1, bottom = -1;
  int count = 0;
};

template <typename Match>
Ink inkOf(const Bitmap& bitmap, Match match, Area area = {}) {
  Ink ink;
  for (int y = area.top; y < std::min(bitmap.height, area.bottom); ++y) {
    for (int x = area.left; x < std::min(bitmap.width, area.right); ++x) {
      if (!match(bitmap.pixel(x, y))) continue;
      ink.left = std::min(ink.left, x);
      ink.right = std::max(ink.right, x);
      ink.top = std::min(ink.top, y);
      ink.bottom = std::max(ink.bottom, y);
      ++ink.count;
    }
  }
  return ink;
}

bool dark(const uint8_t* p) {
  return p[3] > 200 && p[0] < 110 && p[1] < 110 && p[2] < 110;
}
bool reddish(const uint8_t* p) {
  return p[3] > 200 && p[0] > 180 && p[1] < 110 && p[2] < 110;
}
bool bluish(const uint8_t* p) {
  return p[3] > 200 && p[2] > 180 && p[0] < 110 && p[1] < 110;
}
bool marked(const uint8_t* p) {
  return p[3] > 200 && p[0] < 200;
}

std::shared_ptr<Label> makeLabel(const std::string& text, Rect frame = {{0, 0}, {200, 40}}) {
  auto label = std::make_shared<Label>();
  label->setFrame(frame);
  label->layer().setBackgroundColor(kWhite);
  label->setFont(Font("DejaVu Sans", 16));
  label->setTextColor(kBlack);
  label->setString(text);
  return label;
}

using LabelTest = TextTest;

TEST_F(LabelTest, DrawsDarkPixelsWhereTheTextIsAndNoneElsewhere) {
  auto label = makeLabel("Hello");
  const Bitmap bitmap = renderView(*label);
  const Ink ink = inkOf(bitmap, dark);
  ASSERT_GT(ink.count, 30);
  EXPECT_LT(ink.left, 5);
  EXPECT_LT(ink.right, 80);   // five letters at 16 points end well before the middle
  EXPECT_LT(ink.bottom, 25);  // drawn from the top, one line high
  label->setString("");
  EXPECT_EQ(inkOf(renderView(*label), dark).count, 0);
}

TEST_F(LabelTest, SizeGrowsWithTheTextAndWrapsAtANarrowWidth) {
  auto label = makeLabel("Hi");
  const Size shortSize = label->sizeThatFits(INFINITY);
  label->setString("Hi there, a much longer line");
  const Size longSize = label->sizeThatFits(INFINITY);
  EXPECT_GT(longSize.width, shortSize.width * 4);
  EXPECT_EQ(longSize.height, shortSize.height);
  EXPECT_EQ(longSize.width, std::ceil(longSize.width));

  const Size narrow = label->sizeThatFits(80);
  EXPECT_LE(narrow.width, 80);
  EXPECT_GE(narrow.height, longSize.height * 3);
  // Not a number means no limit, as an infinite width does.
  EXPECT_EQ(label->sizeThatFits(NAN).width, longSize.width);
}

TEST_F(LabelTest, TextInABoxOfItsMeasuredSizeWrapsAsMeasured) {
  auto label = makeLabel("Several words that wrap onto lines");
  const Size fits = label->sizeThatFits(90);
  label->setFrame({{0, 0}, fits});
  EXPECT_EQ(label->sizeThatFits(fits.width).height, fits.height);
  label->setFrame({{0, 0}, {fits.width, fits.height + 40}});
  const Ink ink = inkOf(renderView(*label), dark);
  EXPECT_LE(ink.bottom, fits.height);
  EXPECT_GT(ink.bottom, fits.height / 2);  // the last line is drawn, not clipped away
}

TEST_F(LabelTest, AlignmentMovesTheInkAndNaturalFollowsTheScript) {
  auto label = makeLabel("Mid");
  auto inkFor = [&](TextAlignment alignment) {
    label->setAlignment(alignment);
    return inkOf(renderView(*label), dark);
  };
  const Ink left = inkFor(TextAlignment::Left);
  const Ink centre = inkFor(TextAlignment::Center);
  const Ink right = inkFor(TextAlignment::Right);
  const Ink natural = inkFor(TextAlignment::Natural);
  EXPECT_LT(left.left, 5);
  EXPECT_NEAR((centre.left + centre.right) / 2.0, 100, 3);
  EXPECT_GT(right.right, 194);
  EXPECT_EQ(natural.left, left.left);
  label->setString("שלום");
  EXPECT_GT(inkFor(TextAlignment::Natural).right, 194);
  EXPECT_LT(inkFor(TextAlignment::Left).left, 5);
}

TEST_F(LabelTest, JustifiedLinesFillTheWidthButTheLastDoesNot) {
  auto label = makeLabel("aa bb cc dd ee ff gg hh ii jj kk ll mm nn oo pp qq rr ss tt u",
                         {{0, 0}, {150, 200}});
  const int lineHeight = static_cast<int>(label->sizeThatFits(INFINITY).height);
  const int lines = static_cast<int>(std::lround(label->sizeThatFits(150).height / lineHeight));
  ASSERT_GE(lines, 3);
  const Area firstLine{0, 0, 150, lineHeight};
  const Area lastLine{0, (lines - 1) * lineHeight, 150, lines * lineHeight};
  label->setAlignment(TextAlignment::Left);
  const int raggedRight = inkOf(renderView(*label), dark, firstLine).right;
  label->setAlignment(TextAlignment::Justified);
  const Bitmap justified = renderView(*label);
  EXPECT_GT(inkOf(justified, dark, firstLine).right, std::max(raggedRight, 145));
  EXPECT_LT(inkOf(justified, dark, lastLine).right, 100);
}

TEST_F(LabelTest, LetterSpacingWidensTheText) {
  auto label = makeLabel("");
  label->setAttributedString(AttributedString{{TextRun{"spacing"}}});
  const double plain = label->sizeThatFits(INFINITY).width;
  TextRun spaced{"spacing"};
  spaced.letterSpacing = 4;
  label->setAttributedString(AttributedString{{spaced}});
  EXPECT_NEAR(label->sizeThatFits(INFINITY).width - plain, 7 * 4, 5);
}

TEST_F(LabelTest, RunsKeepTheirOwnColourAndFont) {
  auto label = makeLabel("");
  TextRun red{"red "};
  red.color = kRed;
  TextRun blue{"blue"};
  blue.color = kBlue;
  blue.font = Font("DejaVu Sans", 32);
  label->setAttributedString(AttributedString{{red, blue}});
  EXPECT_EQ(label->string(), "red blue");
  const Bitmap bitmap = renderView(*label);
  const Ink redInk = inkOf(bitmap, reddish);
  const Ink blueInk = inkOf(bitmap, bluish);
  ASSERT_GT(redInk.count, 10);
  ASSERT_GT(blueInk.count, 10);
  EXPECT_LT(redInk.right, blueInk.left);
  EXPECT_GT(blueInk.bottom - blueInk.top, (redInk.bottom - redInk.top) * 1.5);
  EXPECT_EQ(inkOf(bitmap, dark).count, 0);  // no run fell back to the black text colour
}

TEST_F(LabelTest, UnderlineAndStrikethroughDrawLinesAcrossTheGapsOfTheRun) {
  auto label = makeLabel("");
  TextRun run("x   x");
  label->setAttributedString(AttributedString{{run}});
  const Bitmap plain = renderView(*label);
  const Ink letters = inkOf(plain, marked);
  // The columns between the two letters, less a margin for the letters' antialiasing.
  int gapLeft = letters.left;
  while (inkOf(plain, marked, {gapLeft, 0, gapLeft + 1}).count > 0) ++gapLeft;
  int gapRight = gapLeft;
  while (inkOf(plain, marked, {gapRight, 0, gapRight + 1}).count == 0) ++gapRight;
  ASSERT_GT(gapRight - gapLeft, 6);
  gapLeft += 2;
  gapRight -= 2;

  run.underline = true;
  label->setAttributedString(AttributedString{{run}});
  const Ink underline = inkOf(renderView(*label), marked, {gapLeft, 0, gapRight});
  run.underline = false;
  run.strikethrough = true;
  label->setAttributedString(AttributedString{{run}});
  const Ink strike = inkOf(renderView(*label), marked, {gapLeft, 0, gapRight});

  EXPECT_EQ(underline.right - underline.left, gapRight - gapLeft - 1);
  EXPECT_EQ(strike.right - strike.left, gapRight - gapLeft - 1);
  EXPECT_GE(underline.top, letters.bottom - 1);  // under the baseline
  EXPECT_GT(strike.top, letters.top);            // through the middle of the letters
  EXPECT_LT(strike.bottom, letters.bottom);
}

TEST_F(LabelTest, PlaceholderShowsOnlyWhileTheTextIsEmpty) {
  auto label = makeLabel("");
  TextRun hint{"Type here"};
  hint.color = kRed;
  label->setPlaceholder(AttributedString{{hint}});
  EXPECT_GT(inkOf(renderView(*label), reddish).count, 30);
  label->setString("x");
  EXPECT_EQ(inkOf(renderView(*label), reddish).count, 0);
  EXPECT_GT(inkOf(renderView(*label), dark).count, 0);
  EXPECT_GT(label->sizeThatFits(INFINITY).width, 0);
  label->setString("");
  EXPECT_GT(inkOf(renderView(*label), reddish).count, 30);
}

using FontTest = TextTest;

TEST_F(FontTest, MetricsPutTheAscenderAboveAndTheDescenderBelowTheBaseline) {
  const Font font = Font::system(20);
  EXPECT_GT(font.ascender(), 0);
  EXPECT_LT(font.descender(), 0);
  EXPECT_GE(font.leading(), 0);
  const double line = font.ascender() - font.descender();
  EXPECT_GT(line, 20);
  EXPECT_LT(line, 20 * 1.6);
  EXPECT_NEAR(font.withSize(40).ascender(), font.ascender() * 2, 2);
}

TEST_F(FontTest, TraitsChooseAnotherFace) {
  const Font regular("DejaVu Sans", 14);
  EXPECT_EQ(regular.faceName(), "DejaVu Sans Book");
  const Font bold = regular.withTrait(FontTrait::Bold);
  EXPECT_EQ(bold.weight(), 700);
  EXPECT_EQ(bold.faceName(), "DejaVu Sans Bold");
  EXPECT_EQ(regular.withTrait(FontTrait::Italic).faceName(), "DejaVu Sans Oblique");
  EXPECT_EQ(bold.withTrait(FontTrait::Italic).faceName(), "DejaVu Sans Bold Oblique");
  EXPECT_EQ(Font("DejaVu Sans", 14, 900).withTrait(FontTrait::Bold).weight(), 900);
}

TEST_F(FontTest, NamedFindsOnlyKnownFamilies) {
  const auto dejaVu = Font::named("dejavu sans mono", 12);
  ASSERT_TRUE(dejaVu.has_value());
  EXPECT_EQ(dejaVu->family(), "DejaVu Sans Mono");
  EXPECT_EQ(dejaVu->size(), 12);
  EXPECT_FALSE(Font::named("No Such Family Anywhere", 12).has_value());
}

// A copy of an installed font in a fresh directory, so that its path is new to the process.
class FontRegistryTest : public TextTest {
 protected:
  void SetUp() override {
    TextTest::SetUp();
    char pattern[] = "/tmp/talvero-font-test-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    directory = pattern;
  }
  void TearDown() override { std::filesystem::remove_all(directory); }

  std::filesystem::path copyOf(const std::string& name, const std::string& as) {
    const auto target = directory / as;
    std::filesystem::copy_file(kDejaVu / name, target);
    return target;
  }
  static std::vector<uint8_t> bytesOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

  std::filesystem::path directory;
};

using Status = FontRegistration::Status;

TEST_F(FontRegistryTest, SameFileTwiceIsAlreadyRegistered) {
  const auto path = copyOf("DejaVuSerif.ttf", "a.ttf");
  const FontRegistration first = registerFontFile(path);
  ASSERT_EQ(first.status, Status::Registered) << first.reason;
  EXPECT_EQ(first.families, std::vector<std::string>{"DejaVu Serif"});
  const FontRegistration second = registerFontFile(path);
  EXPECT_EQ(second.status, Status::AlreadyRegistered);
  EXPECT_EQ(second.families, first.families);
}

TEST_F(FontRegistryTest, SameFaceFromAnotherPathOrFromBytesIsAlreadyRegistered) {
  const auto path = copyOf("DejaVuSansMono-Bold.ttf", "first.ttf");
  ASSERT_EQ(registerFontFile(path).status, Status::Registered);
  EXPECT_EQ(registerFontFile(copyOf("DejaVuSansMono-Bold.ttf", "second.ttf")).status,
            Status::AlreadyRegistered);
  const FontRegistration fromBytes = registerFontData(bytesOf(path));
  EXPECT_EQ(fromBytes.status, Status::AlreadyRegistered);
  EXPECT_EQ(fromBytes.families, std::vector<std::string>{"DejaVu Sans Mono"});
  // Another face of the same family is news.
  EXPECT_EQ(registerFontData(bytesOf(kDejaVu / "DejaVuSansMono-Oblique.ttf")).status,
            Status::Registered);
}

// The bytes of an installed font under a family name that no installed font has: each
// occurrence of the old name, in the one-byte and the two-byte encodings of the name table,
// becomes a new name of the same length, so that no offset in the file moves.
std::vector<uint8_t> renamed(std::vector<uint8_t> bytes, const std::string& from,
                             const std::string& to) {
  auto replaceAll = [&bytes](const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
    int count = 0;
    for (auto at = std::search(bytes.begin(), bytes.end(), a.begin(), a.end()); at != bytes.end();
         at = std::search(at + 1, bytes.end(), a.begin(), a.end())) {
      std::copy(b.begin(), b.end(), at);
      ++count;
    }
    return count;
  };
  auto wide = [](const std::string& text) {
    std::vector<uint8_t> out;
    for (char c : text) out.insert(out.end(), {0, static_cast<uint8_t>(c)});
    return out;
  };
  const int replaced = replaceAll({from.begin(), from.end()}, {to.begin(), to.end()}) +
                       replaceAll(wide(from), wide(to));
  EXPECT_GT(replaced, 1);
  return bytes;
}

TEST_F(FontRegistryTest, ARegisteredFamilyCanBeUsedByName) {
  const auto bytes = renamed(bytesOf(kDejaVu / "DejaVuSerif.ttf"), "DejaVu Serif", "Talvero Test");
  EXPECT_FALSE(Font::named("Talvero Test", 14).has_value());
  const FontRegistration first = registerFontData(bytes);
  ASSERT_EQ(first.status, Status::Registered) << first.reason;
  EXPECT_EQ(first.families, std::vector<std::string>{"Talvero Test"});
  EXPECT_EQ(registerFontData(bytes).status, Status::AlreadyRegistered);
  const auto font = Font::named("talvero test", 14);
  ASSERT_TRUE(font.has_value());
  EXPECT_EQ(font->family(), "Talvero Test");
  EXPECT_EQ(font->faceName(), "Talvero Test Book");
  auto label = makeLabel("");
  label->setFont(*font);
  label->setString("Registered");
  EXPECT_GT(inkOf(renderView(*label), dark).count, 30);
}

TEST_F(FontRegistryTest, EveryNameOfAFaceIsReported) {
  const FontRegistration result =
      registerFontFile(copyOf("DejaVuSerifCondensed-Italic.ttf", "condensed.ttf"));
  ASSERT_EQ(result.status, Status::Registered) << result.reason;
  EXPECT_EQ(result.families, (std::vector<std::string>{"DejaVu Serif", "DejaVu Serif Condensed"}));
}

TEST_F(FontRegistryTest, WhatIsNoFontFailsWithAReason) {
  std::vector<uint8_t> garbage(4096);
  for (size_t i = 0; i < garbage.size(); ++i) garbage[i] = static_cast<uint8_t>(i * 37 + 11);
  const FontRegistration fromGarbage = registerFontData(garbage);
  EXPECT_EQ(fromGarbage.status, Status::Failed);
  EXPECT_FALSE(fromGarbage.reason.empty());
  EXPECT_TRUE(fromGarbage.families.empty());
  EXPECT_EQ(registerFontData({}).status, Status::Failed);
  EXPECT_EQ(registerFontFile((directory / "missing.ttf").string()).status, Status::Failed);
  // A failure leaves no state behind: the same bytes fail again.
  EXPECT_EQ(registerFontData(garbage).status, Status::Failed);
}

using TextFieldTest = TextTest;

TEST_F(TextFieldTest, TypedTextIsReadBackAndReportedOncePerEdit) {
  TextField field;
  std::vector<std::string> changes;
  field.setOnTextChange([&](const std::string& text) { changes.push_back(text); });
  field.insertAtCursor("héllo");
  EXPECT_EQ(field.string(), "héllo");
  ASSERT_EQ(changes, std::vector<std::string>{"héllo"});
  field.insertAtCursor(" wörld");
  EXPECT_EQ(field.string(), "héllo wörld");
  EXPECT_EQ(changes.size(), 2u);
  EXPECT_EQ(changes.back(), "héllo wörld");
}

TEST_F(TextFieldTest, ProgrammaticTextAndTypingIntoAReadOnlyFieldAreNotReported) {
  TextField field;
  int changes = 0;
  field.setOnTextChange([&](const std::string&) { ++changes; });
  field.setString("set by the program");
  EXPECT_EQ(field.string(), "set by the program");
  field.setString("set by the program");
  field.setString("");
  EXPECT_EQ(field.string(), "");
  field.setString("fixed");
  field.setEditable(false);
  field.insertAtCursor("x");
  EXPECT_EQ(field.string(), "fixed");
  EXPECT_EQ(changes, 0);
  field.setEditable(true);
  field.insertAtCursor("x");
  EXPECT_EQ(changes, 1);
}

TEST_F(TextFieldTest, SecureEntryKeepsTheTextButShowsNoCharacters) {
  TextField field;
  field.setFont(Font("DejaVu Sans", 16));
  auto caretAfter = [&](const std::string& text) {
    field.setString(text);
    return field.caretRect(text.size()).x();
  };
  // Narrow and wide letters move the caret differently only while they are shown.
  const double shownWide = caretAfter("WWWW");
  EXPECT_GT(shownWide - caretAfter("iiii"), 20);
  field.setSecure(true);
  EXPECT_TRUE(field.isSecure());
  const double wide = caretAfter("WWWW");
  EXPECT_EQ(caretAfter("iiii"), wide);
  EXPECT_EQ(field.string(), "iiii");
  field.insertAtCursor("W");
  EXPECT_EQ(field.string(), "iiiiW");
  field.setSecure(false);
  EXPECT_EQ(field.string(), "iiiiW");
  EXPECT_EQ(caretAfter("WWWW"), shownWide);
}

// Runs `body` inside a running application with a window on screen.
void onScreen(const std::function<void(Window&)>& body) {
  Application application("dev.talvero.TextTest");
  application.run([&] {
    Window window(application, "text", 320, 200);
    window.present();
    dispatch::pumpFor(0.1);
    body(window);
    application.quit();
  });
}

TEST_F(TextFieldTest, OnScreenTheFontAppliesAndFocusIsReported) {
  onScreen([](Window& window) {
    auto field = std::make_shared<TextField>();
    field->setFrame({{10, 10}, {300, 40}});
    window.contentView()->addSubview(field);
    int focused = 0, blurred = 0;
    field->setOnFocus([&] { ++focused; });
    field->setOnBlur([&] { ++blurred; });
    field->setString("abcdef");
    field->setFont(Font("DejaVu Sans", 12));
    dispatch::pumpFor(0.1);
    const double small = field->caretRect(6).x();
    field->setFont(Font("DejaVu Sans", 24));
    dispatch::pumpFor(0.1);
    EXPECT_NEAR(field->caretRect(6).x(), small * 2, small * 0.2);

    field->focus();
    EXPECT_TRUE(dispatch::pumpUntil([&] { return focused == 1; }, 2));
    EXPECT_TRUE(field->hasFocus());
    EXPECT_EQ(window.firstResponder(), field.get());
    field->unfocus();
    EXPECT_TRUE(dispatch::pumpUntil([&] { return blurred == 1; }, 2));
    EXPECT_FALSE(field->hasFocus());
    EXPECT_NE(window.firstResponder(), field.get());
    EXPECT_EQ(focused, 1);
  });
}

using TextViewTest = TextTest;

TEST_F(TextViewTest, TypedTextIsReportedButProgrammaticTextIsNot) {
  TextView view;
  std::vector<std::string> changes;
  view.setOnTextChange([&](const std::string& text) { changes.push_back(text); });
  view.setString("first line\n");
  EXPECT_TRUE(changes.empty());
  view.insertAtCursor("second");
  ASSERT_EQ(changes.size(), 1u);
  EXPECT_EQ(changes.back(), "first line\nsecond");
  EXPECT_EQ(view.string(), "first line\nsecond");
  view.setEditable(false);
  view.insertAtCursor("ignored");
  EXPECT_EQ(changes.size(), 1u);
}

TEST_F(TextViewTest, PlaceholderIsDrawnOnlyWhileEmpty) {
  TextView view;
  view.setFrame({{0, 0}, {200, 80}});
  view.layer().setBackgroundColor(kWhite);
  view.setFont(Font("DejaVu Sans", 16));
  view.setPlaceholder("Write something", kRed);
  EXPECT_TRUE(view.showsPlaceholder());
  const Ink ink = inkOf(renderView(view), reddish);
  EXPECT_GT(ink.count, 30);
  EXPECT_GE(ink.top, 6);  // inside the inset, where typed text starts
  view.setString("text");
  EXPECT_FALSE(view.showsPlaceholder());
  EXPECT_EQ(inkOf(renderView(view), reddish).count, 0);
}

TEST_F(TextViewTest, OnScreenTheFontAppliesAndFocusHidesThePlaceholder) {
  onScreen([](Window& window) {
    auto view = std::make_shared<TextView>();
    view->setFrame({{10, 10}, {300, 150}});
    window.contentView()->addSubview(view);
    int focused = 0, blurred = 0;
    view->setOnFocus([&] { ++focused; });
    view->setOnBlur([&] { ++blurred; });
    view->setString("abcdef");
    view->setFont(Font("DejaVu Sans", 12));
    dispatch::pumpFor(0.1);
    const Rect small = view->caretRect(6);
    view->setFont(Font("DejaVu Sans", 24));
    dispatch::pumpFor(0.1);
    const Rect large = view->caretRect(6);
    EXPECT_NEAR(large.x() - small.x(), small.x(), 4);  // the inset stays, the text doubles
    EXPECT_GT(large.height(), small.height() * 1.6);

    view->setString("");
    view->setPlaceholder("hint");
    EXPECT_TRUE(view->showsPlaceholder());
    view->focus();
    EXPECT_TRUE(dispatch::pumpUntil([&] { return focused == 1; }, 2));
    EXPECT_FALSE(view->showsPlaceholder());
    view->unfocus();
    EXPECT_TRUE(dispatch::pumpUntil([&] { return blurred == 1; }, 2));
    EXPECT_TRUE(view->showsPlaceholder());
  });
}

}  // namespace
}  // namespace talvero::toolkit
