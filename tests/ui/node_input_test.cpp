#include <dlfcn.h>
#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <yoga/Yoga.h>

#include <cmath>
#include <string>
#include <vector>

#include "platform/dispatch/main_queue.h"
#include "platform/toolkit/snapshot.h"
#include "ui/node_input.h"
#include "ui/ui_test_support.h"
#include "ui_window_fixture.h"

namespace talvero {
namespace {

using testing::unpacked;
using toolkit::Font;
using Records = std::vector<std::string>;

// One line of a font as the inputs count it, in whole points.
float lineOf(const Font& font) {
  return static_cast<float>(std::ceil(font.ascender() - font.descender() + font.leading()));
}

// Pixels within a small distance of a colour.
int pixelsNear(const toolkit::Bitmap& bitmap, int red, int green, int blue) {
  int count = 0;
  for (size_t i = 0; i + 3 < bitmap.rgba.size(); i += 4) {
    const uint8_t* p = &bitmap.rgba[i];
    if (std::abs(p[0] - red) + std::abs(p[1] - green) + std::abs(p[2] - blue) < 40) ++count;
  }
  return count;
}

class NodeInputTest : public testing::UIEngineTest {
 protected:
  // A screen whose children keep their own sizes.
  void openInputs(const std::string& children) {
    openTree("{type: 'screen', _style: {alignItems: 'flex-start'}, children: [" + children + "]}");
  }
  static std::string child(int index) { return "tree.children[" + std::to_string(index) + "]"; }
  NodeInput& input(int index) { return nodeAt<NodeInput>(child(index)); }
  NodeTextArea& area(int index) { return nodeAt<NodeTextArea>(child(index)); }
  std::string textValue(int index) {
    engine.run("var __value = _creatorUI.getTextValue(" + child(index) + "._id);");
    return global("__value").toString();
  }
  // `_creatorUI.<operation>(child's id, key, value)`.
  void call(const std::string& operation, int index, const std::string& key,
            const std::string& value) {
    engine.run("_creatorUI." + operation + "(" + child(index) + "._id, '" + key + "', " + value +
               ");");
  }
  static void settle() { testing::drainMainQueue(); }
};

TEST_F(NodeInputTest, MeasuresFromTheFontAloneNeverFromTheText) {
  openInputs("{type: 'input'}, {type: 'textarea'}, {type: 'textarea', _style: {fontSize: 28}}");
  const float line = lineOf(Font::system(14));
  EXPECT_EQ(input(0).frame().size, (toolkit::Size{200, line + 8}));
  EXPECT_EQ(area(1).frame().size, (toolkit::Size{200, line * 4 + 8}));
  EXPECT_EQ(area(2).frame().height(), lineOf(Font::system(28)) * 4 + 8);
  area(1).insertAtCursor("one\ntwo\nthree\nfour\nfive\nsix");
  const auto free = YGMeasureModeUndefined;
  EXPECT_EQ(unpacked(area(1).measure(NAN, free, NAN, free)).height, line * 4 + 8);
  // A size that the layout sets wins; a limit only caps the node's own.
  EXPECT_EQ(unpacked(input(0).measure(310, YGMeasureModeExactly, 44, YGMeasureModeExactly)).height,
            44);
  EXPECT_EQ(unpacked(input(0).measure(900, YGMeasureModeAtMost, 900, YGMeasureModeAtMost)).height,
            line + 8);
}

TEST_F(NodeInputTest, TypedTextReachesEveryClListenerAndGetTextValue) {
  openInputs(
      "{type: 'input', cl: [function (t) { record('a ' + t); }, function (t) { record('b ' + t); "
      "}]}, {type: 'textarea', cl: [function (t) { record('area ' + JSON.stringify(t)); }]}");
  input(0).insertAtCursor("héllo");
  input(0).insertAtCursor(" you");
  area(1).insertAtCursor("one\ntwo");
  EXPECT_EQ(records,
            (Records{"a héllo", "b héllo", "a héllo you", "b héllo you", "area \"one\\ntwo\""}));
  EXPECT_EQ(textValue(0), "héllo you");
  EXPECT_EQ(textValue(1), "one\ntwo");
  // Listeners are read from the script object at each change, and only an array counts.
  records.clear();
  engine.run(child(0) + ".cl = [function (t) { record('new ' + t); }];");
  input(0).insertAtCursor("!");
  engine.run(child(0) + ".cl = function (t) { record('not in an array'); };");
  input(0).insertAtCursor("?");
  EXPECT_EQ(records, (Records{"new héllo you!"}));
}

TEST_F(NodeInputTest, AValueReplacesTheTextOnALaterTurnWithoutTellingClOrMovingTheCaret) {
  openInputs("{type: 'input', cl: [function (t) { record(t); }]}, {type: 'textarea'}");
  call("updateNode", 0, "value", "'abcdef'");
  engine.run("record('same turn: ' + _creatorUI.getTextValue(" + child(0) + "._id));");
  call("updateNode", 0, "text", "'not a value'");
  call("updateNode", 1, "value", "'two\\nlines'");
  settle();
  EXPECT_EQ(records, (Records{"same turn: "}));
  EXPECT_EQ(textValue(0), "abcdef");
  EXPECT_EQ(textValue(1), "two\nlines");

  GtkEditable* editable = GTK_EDITABLE(input(0).nativeContent());
  gtk_editable_set_position(editable, 2);
  call("updateNode", 0, "value", "'abcdef'");
  settle();
  EXPECT_EQ(gtk_editable_get_position(editable), 2);
  call("updateNode", 0, "value", "undefined");
  settle();
  EXPECT_EQ(textValue(0), "");
  EXPECT_EQ(records.size(), 1u);
}

TEST_F(NodeInputTest, PasswordHidesTheTextInASnapshotAndKeepsItsLooks) {
  openInputs("{type: 'input', _style: {color: '#ff0000', textAlign: 'center', fontSize: 20}}");
  NodeInput& field = input(0);
  field.layer().setBackgroundColor(toolkit::Color{0, 0, 0, 1});
  auto renderWith = [&](const std::string& text) {
    field.setString(text);
    return toolkit::renderView(field);
  };
  const toolkit::Bitmap shownWide = renderWith("WWWW");
  EXPECT_GT(pixelsNear(shownWide, 255, 0, 0), pixelsNear(renderWith("iiii"), 255, 0, 0) * 2);

  call("updateStyle", 0, "type", "'password'");
  EXPECT_EQ(textValue(0), "iiii");
  EXPECT_EQ(field.textColor(), (toolkit::Color{1, 0, 0, 1}));
  EXPECT_EQ(field.alignment(), toolkit::TextAlignment::Center);
  EXPECT_EQ(field.font().size(), 20);
  // Wide and narrow letters look the same once hidden, and something is still drawn.
  const toolkit::Bitmap hidden = renderWith("WWWW");
  EXPECT_EQ(hidden.rgba, renderWith("iiii").rgba);
  EXPECT_GT(pixelsNear(hidden, 255, 0, 0), 20);

  call("updateStyle", 0, "type", "'password'");
  EXPECT_TRUE(field.isSecure());
  call("updateStyle", 0, "type", "'email'");
  EXPECT_EQ(renderWith("WWWW").rgba, shownWide.rgba);
}

TEST_F(NodeInputTest, PlaceholderIsTranslucentWhiteWhateverTheTextColourUntilItsColourIsGiven) {
  const std::string style = "_style: {color: '#ff0000', placeholder: 'Placeholder'}";
  openInputs("{type: 'input', " + style + "}, {type: 'textarea', " + style + "}");
  for (toolkit::View* view :
       {static_cast<toolkit::View*>(&input(0)), static_cast<toolkit::View*>(&area(1))}) {
    view->layer().setBackgroundColor(toolkit::Color{0, 0, 0, 1});
    EXPECT_GT(pixelsNear(toolkit::renderView(*view), 102, 102, 102), 20);
    EXPECT_EQ(pixelsNear(toolkit::renderView(*view), 255, 0, 0), 0);
  }
  call("updateStyle", 0, "placeholderColor", "'#00ff00'");
  call("updateStyle", 1, "placeholderColor", "'#00ff00'");
  EXPECT_GT(pixelsNear(toolkit::renderView(input(0)), 0, 255, 0), 20);
  EXPECT_GT(pixelsNear(toolkit::renderView(area(1)), 0, 255, 0), 20);
  area(1).insertAtCursor("typed");
  EXPECT_EQ(pixelsNear(toolkit::renderView(area(1)), 0, 255, 0), 0);
}

TEST_F(NodeInputTest, DebugTypingTakesTheFirstInputElseTheFirstTextArea) {
  openInputs(
      "{type: 'textarea', cl: [function (t) { record('area ' + t); }]},"
      "{type: 'view', _style: {}, children: [{type: 'input', cl: [function (t) {"
      "  record('nested ' + t); }]}]},"
      "{type: 'input', cl: [function (t) { record('later ' + t); }]}");
  EXPECT_EQ(engine.creatorUI().debugTypeFirstInput("macOS"), "macOS");
  EXPECT_EQ(records, (Records{"nested macOS"}));
  openInputs(
      "{type: 'text', _text: 'label'}, {type: 'textarea', cl: [function (t) {"
      "  record('area ' + t); }]}");
  EXPECT_EQ(engine.creatorUI().debugTypeFirstInput("two words"), "two words");
  EXPECT_EQ(records.back(), "area two words");
  openInputs("{type: 'text', _text: 'nothing to type into'}");
  EXPECT_EQ(engine.creatorUI().debugTypeFirstInput("macOS"), std::nullopt);
}

class InputFocusTest : public testing::UIWindowTest {
 protected:
  void openTwo() {
    open(
        "root = {type: 'screen', children: ["
        "  first = {type: 'input', _style: at(10, 10, 200, 30),"
        "    fl: [function () { say('first focus'); }], bl: [function () { say('first blur'); }],"
        "    cl: [function (t) { say('first ' + t); }]},"
        "  second = {type: 'textarea', _style: at(10, 60, 200, 100),"
        "    fl: [function () { say('second focus'); }],"
        "    bl: [function () { say('second blur'); }]}]}");
  }
  // What the scripts said, once they said `count` things.
  testing::Events eventsAfter(size_t count) {
    dispatch::pumpUntil([&] { return global("events").get("length").toUInt32() >= count; }, 2);
    return takeEvents();
  }
  NodeInput& first() { return dynamic_cast<NodeInput&>(*node("first")); }
  NodeTextArea& second() { return dynamic_cast<NodeTextArea&>(*node("second")); }
};

TEST_F(InputFocusTest, FocusMovingBetweenInputsTellsBlurThenFocusButNotOnceRemoved) {
  inWindow([&] {
    openTwo();
    first().focus();
    EXPECT_EQ(eventsAfter(1), (testing::Events{"first focus"}));
    second().focus();
    EXPECT_EQ(eventsAfter(2), (testing::Events{"first blur", "second focus"}));
    // Until the flush takes its view away, a removed node can still lose the keyboard.
    engine.run("_creatorUI.removeNode(root._id, second);");
    first().focus();
    EXPECT_EQ(eventsAfter(1), (testing::Events{"first focus"}));
  });
}

// Presses the keys of lower-case letters and spaces on the X server, with the window given
// the keyboard, as no window manager does here. Xlib is reached by name: its headers define
// macros that clash with the test framework's. False without the X test extension.
bool pressKeys(toolkit::Window& window, const std::string& text) {
  GdkDisplay* gdkDisplay = gdk_display_get_default();
  void* library = dlopen("libXtst.so.6", RTLD_NOW);
  if (!library || std::string(G_OBJECT_TYPE_NAME(gdkDisplay)) != "GdkX11Display") return false;
  auto symbol = [](void* from, const char* name) { return dlsym(from, name); };
  auto* fakeKey = reinterpret_cast<int (*)(void*, unsigned, int, unsigned long)>(
      symbol(library, "XTestFakeKeyEvent"));
  void* display = reinterpret_cast<void* (*)(GdkDisplay*)>(
      symbol(RTLD_DEFAULT, "gdk_x11_display_get_xdisplay"))(gdkDisplay);
  auto* keycode = reinterpret_cast<unsigned char (*)(void*, unsigned long)>(
      symbol(RTLD_DEFAULT, "XKeysymToKeycode"));
  GdkSurface* surface = gtk_native_get_surface(GTK_NATIVE(window.nativeWindow()));
  const unsigned long xid = reinterpret_cast<unsigned long (*)(GdkSurface*)>(
      symbol(RTLD_DEFAULT, "gdk_x11_surface_get_xid"))(surface);
  constexpr int kRevertToParent = 2;
  reinterpret_cast<int (*)(void*, unsigned long, int, unsigned long)>(
      symbol(RTLD_DEFAULT, "XSetInputFocus"))(display, xid, kRevertToParent, 0);
  for (char c : text) {
    fakeKey(display, keycode(display, static_cast<unsigned char>(c)), 1, 0);
    fakeKey(display, keycode(display, static_cast<unsigned char>(c)), 0, 0);
  }
  reinterpret_cast<int (*)(void*)>(symbol(RTLD_DEFAULT, "XFlush"))(display);
  return true;
}

TEST_F(InputFocusTest, KeysPressedOnTheKeyboardAreTypedIntoTheFocusedInput) {
  inWindow([&] {
    openTwo();
    window->present();
    dispatch::pumpFor(0.2);
    first().focus();
    EXPECT_EQ(eventsAfter(1), (testing::Events{"first focus"}));
    if (!pressKeys(*window, "hi there")) GTEST_SKIP() << "no X test extension to press keys";
    const testing::Events events = eventsAfter(8);
    ASSERT_EQ(events.size(), 8u) << "the window did not get the keys";
    EXPECT_EQ(events.front(), "first h");
    EXPECT_EQ(events.back(), "first hi there");
    EXPECT_EQ(first().textValue(), "hi there");
    EXPECT_EQ(second().textValue(), "");
  });
}

}  // namespace
}  // namespace talvero
