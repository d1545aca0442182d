#include <gtest/gtest.h>

#include "platform/script/script_context.h"
#include "test_support.h"

namespace talvero {
namespace {

using testing::json;

using ScriptValueTest = testing::ScriptTest;

TEST_F(ScriptValueTest, EvaluateHandsExceptionsToTheHandlerAndStopsAtTheThrow) {
  context.evaluate("var before = 1; throw new TypeError('bad'); var after = 1;");
  ASSERT_EQ(exceptions.size(), 1u);
  EXPECT_EQ(exceptions[0], "TypeError: bad");
  EXPECT_TRUE(context.globalObject().get("before").isNumber());
  EXPECT_TRUE(context.globalObject().get("after").isUndefined());
}

TEST_F(ScriptValueTest, ReplacedHandlerGetsLaterExceptionsOnly) {
  int replaced = 0;
  context.setExceptionHandler([&](const ScriptContext&, const ScriptValue&) { ++replaced; });
  context.evaluate("throw 1");
  EXPECT_EQ(replaced, 1);
  EXPECT_TRUE(exceptions.empty());
}

TEST_F(ScriptValueTest, CallConvertsNativeArgumentsAndReturnsTheResult) {
  ScriptValue describe = eval(
      "function (n, s, b, a, o, nothing) { return JSON.stringify([n, s, b, a, o, nothing]); }");
  NativeValue::Dict object{{"z", 1}, {"a", "x"}};
  ScriptValue result =
      describe.call({2.5, "héllo ✓", true, NativeValue::Array{1, "two"}, object, nullptr});
  EXPECT_EQ(result.toString(), R"([2.5,"héllo ✓",true,[1,"two"],{"z":1,"a":"x"},null])");
}

TEST_F(ScriptValueTest, ExceptionInACallGoesToTheHandlerAndTheCallerGoesOn) {
  ScriptValue thrower = eval("function () { throw new Error('inside'); }");
  ScriptValue result = thrower.call();
  EXPECT_TRUE(result.isUndefined());
  ASSERT_EQ(exceptions.size(), 1u);
  EXPECT_EQ(exceptions[0], "Error: inside");
}

TEST_F(ScriptValueTest, CallingANonFunctionReportsATypeError) {
  eval("42").call();
  ASSERT_EQ(exceptions.size(), 1u);
  EXPECT_EQ(exceptions[0].rfind("TypeError", 0), 0u);
}

TEST_F(ScriptValueTest, HandleKeepsItsContextAliveAfterTheContextHandleIsDropped) {
  ScriptValue counter = eval("(function () { var n = 0; return function () { return ++n; }; })()");
  context = ScriptContext();
  counter.call();
  EXPECT_EQ(counter.call().toInt32(), 2);
  EXPECT_FALSE(counter.context().empty());
}

TEST_F(ScriptValueTest, ContextIdentityTellsContextsApart) {
  ScriptContext other = ScriptContext::create();
  ScriptValue mine = eval("({})");
  EXPECT_TRUE(mine.belongsTo(context));
  EXPECT_FALSE(mine.belongsTo(other));
  EXPECT_TRUE(mine.context() == context);
  EXPECT_FALSE(other == context);
}

TEST_F(ScriptValueTest, PropertiesMethodsAndConstruction) {
  ScriptValue object = eval("{ list: [10, 20, 30], greet(name) { return 'hi ' + name; } }");
  EXPECT_TRUE(object.has("list"));
  EXPECT_FALSE(object.has("missing"));
  EXPECT_EQ(object.get("list").at(1).toInt32(), 20);
  EXPECT_TRUE(object.get("list").at(7).isUndefined());
  EXPECT_EQ(object.invokeMethod("greet", {"you"}).toString(), "hi you");
  object.set("added", NativeValue::Array{true});
  EXPECT_EQ(json(context, "__value.added"), "[true]");
  ScriptValue date = context.globalObject().get("Date").construct({0});
  EXPECT_EQ(date.invokeMethod("getTime").toDouble(), 0.0);
}

TEST_F(ScriptValueTest, ThrowingGetterReportsAndYieldsUndefined) {
  ScriptValue object = eval("{ get bad() { throw new Error('getter'); } }");
  EXPECT_TRUE(object.get("bad").isUndefined());
  ASSERT_EQ(exceptions.size(), 1u);
  EXPECT_EQ(exceptions[0], "Error: getter");
}

TEST_F(ScriptValueTest, NumberConversionsFollowScriptRules) {
  EXPECT_EQ(eval("4294967301").toInt32(), 5);
  EXPECT_EQ(eval("-1.9").toInt32(), -1);
  EXPECT_EQ(eval("NaN").toInt32(), 0);
  EXPECT_EQ(eval("2147483648").toInt32(), -2147483647 - 1);
  EXPECT_EQ(eval("'12.5'").toDouble(), 12.5);
  EXPECT_TRUE(eval("''").isString());
  EXPECT_FALSE(eval("''").toBool());
  EXPECT_TRUE(eval("({})").toBool());
}

TEST_F(ScriptValueTest, TypeTests) {
  EXPECT_TRUE(eval("undefined").isUndefined());
  EXPECT_TRUE(eval("null").isNull());
  EXPECT_FALSE(eval("null").isObject());
  EXPECT_TRUE(eval("[]").isArray());
  EXPECT_TRUE(eval("[]").isObject());
  EXPECT_TRUE(eval("function () {}").isFunction());
  EXPECT_TRUE(eval("1").isNumber());
  EXPECT_TRUE(eval("false").isBoolean());
  EXPECT_FALSE(ScriptValue().isUndefined());
}

TEST_F(ScriptValueTest, DeepConversionKeepsKeyOrderAndCutsCycles) {
  ScriptValue value = eval(
      "(function () { var o = { b: 1, a: [true, 'x', null], self: null }; o.self = o; return o; "
      "})()");
  const NativeValue::Dict dict = value.toDictionary();
  ASSERT_EQ(dict.size(), 3u);
  EXPECT_EQ(dict[0].first, "b");
  EXPECT_EQ(dict[0].second.asNumber(), 1);
  EXPECT_EQ(dict[1].first, "a");
  ASSERT_TRUE(dict[1].second.isArray());
  EXPECT_EQ(dict[1].second.asArray()[1].asString(), "x");
  EXPECT_TRUE(dict[1].second.asArray()[2].isNull());
  EXPECT_TRUE(dict[2].second.isNull());  // the cycle
}

TEST_F(ScriptValueTest, ToArrayReadsArrayLikesAndRefusesOthers) {
  EXPECT_EQ(eval("[1, [2]]").toArray().size(), 2u);
  EXPECT_EQ(eval("({length: 2, 0: 'a', 1: 'b'})").toArray()[1].asString(), "b");
  EXPECT_TRUE(eval("'text'").toArray().empty());
  EXPECT_TRUE(eval("null").toDictionary().empty());
}

TEST_F(ScriptValueTest, TextSurvivesTheRoundTrip) {
  const std::string text = std::string("a\0b é 😀", 11);
  ScriptValue length = eval("function (s) { return s.length; }");
  EXPECT_EQ(length.call({text}).toInt32(), 8);  // the emoji is two UTF-16 units
  EXPECT_EQ(context.make(text).toString(), text);
  EXPECT_EQ(context.make(std::string("bad \xff byte")).toString(), "bad \xEF\xBF\xBD byte");
}

TEST_F(ScriptValueTest, StringConversionThatThrowsGivesNothing) {
  ScriptValue hostile = eval("({ toString() { throw new Error('no'); } })");
  EXPECT_FALSE(hostile.toStringIfAny().has_value());
  EXPECT_TRUE(eval("'fine'").toStringIfAny().has_value());
  EXPECT_FALSE(hostile.toUTF16IfAny().has_value());
}

TEST_F(ScriptValueTest, UTF16TextKeepsEveryCodeUnitEvenALoneSurrogate) {
  EXPECT_EQ(eval("'a\\u00e9\\ud83d\\ude00'").toUTF16IfAny(), std::u16string(u"a\u00e9\U0001F600"));
  EXPECT_EQ(eval("'x\\ud800'").toUTF16IfAny(), std::u16string(u"x\xd800"));
  EXPECT_EQ(eval("12").toUTF16IfAny(), std::u16string(u"12"));
}

TEST_F(ScriptValueTest, TypedSubarrayIsReadAtItsOwnOffset) {
  ScriptValue view = eval("new Float32Array([0, 1, 2, 3, 4, 5]).subarray(2, 5)");
  auto typed = view.typedArray();
  ASSERT_TRUE(typed.has_value());
  EXPECT_EQ(typed->kind, TypedArrayKind::Float32);
  EXPECT_EQ(typed->length, 3u);
  EXPECT_EQ(typed->byteLength, 12u);
  auto* floats = static_cast<float*>(typed->data);
  EXPECT_EQ(floats[0], 2.0f);
  EXPECT_EQ(floats[2], 4.0f);
  floats[1] = 30.0f;  // written in place, seen by the script
  EXPECT_EQ(json(context, "Array.from(__value)"), "[2,30,4]");
  EXPECT_FALSE(eval("[1, 2]").typedArray().has_value());
  EXPECT_FALSE(eval("new ArrayBuffer(4)").typedArray().has_value());
}

}  // namespace
}  // namespace talvero
