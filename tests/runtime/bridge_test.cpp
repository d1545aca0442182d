#include <gtest/gtest.h>

#include "runtime/buffers.h"
#include "runtime/callback_registry.h"
#include "runtime/value_helpers.h"
#include "test_support.h"

namespace talvero {
namespace {

using testing::json;

TEST(Buffers, IdsStartAtZeroGrowAndAreNeverReused) {
  const int64_t first = Buffers::putBuffer(makeBytes({1, 2, 3}));
  EXPECT_EQ(first, 0);
  EXPECT_TRUE(Buffers::dispose(first));
  const int64_t second = Buffers::putBuffer(makeBytes({4}));
  EXPECT_EQ(second, 1);
  EXPECT_EQ(Buffers::get(first), nullptr);
}

TEST(Buffers, ReadingDoesNotConsumeOrCopy) {
  Bytes bytes = makeBytes({9, 8, 7});
  const int64_t id = Buffers::putBuffer(bytes);
  EXPECT_EQ(Buffers::get(id).get(), bytes.get());
  EXPECT_EQ(Buffers::get(id).get(), bytes.get());
  EXPECT_FALSE(Buffers::dispose(id + 1000));
  EXPECT_TRUE(Buffers::dispose(id));
  EXPECT_FALSE(Buffers::dispose(id));
}

using BridgeTest = testing::ScriptTest;

TEST_F(BridgeTest, RejectGetsAnErrorOfItsOwnContext) {
  ScriptContext other = ScriptContext::create();
  other.evaluate("var got; function reject(e) { got = e; }");
  call_reject(other.globalObject().get("reject"), "it failed");
  other.evaluate("var isOwnError = got instanceof Error; var message = got.message;");
  EXPECT_TRUE(other.globalObject().get("isOwnError").toBool());
  EXPECT_EQ(other.globalObject().get("message").toString(), "it failed");
  // An Error of another context is no instance of this one's.
  context.evaluate("var mine = Error;");
  other.setGlobal("foreignError", context.globalObject().get("mine"));
  other.evaluate("var foreign = got instanceof foreignError;");
  EXPECT_FALSE(other.globalObject().get("foreign").toBool());
}

TEST_F(BridgeTest, RejectFallsBackToTheTextWithoutAnErrorConstructor) {
  context.evaluate("var got; function reject(e) { got = e; } Error = undefined;");
  call_reject(context.globalObject().get("reject"), "plain");
  EXPECT_EQ(json(context, "got"), "\"plain\"");
}

TEST_F(BridgeTest, CallListCallsEachFunctionInOrderWithTheSameArguments) {
  ScriptValue list = eval(
      "(function () { globalThis.log = []; return [0, 1, 2].map(i => (a, b) => log.push(i + ':' + "
      "a + b)); })()");
  call_list(list, {"x", 1});
  EXPECT_EQ(json(context, "log"), R"(["0:x1","1:x1","2:x1"])");
}

TEST_F(BridgeTest, EmptyListenerListsCountAsNone) {
  EXPECT_TRUE(getIfNotEmpty(ScriptValue()).empty());
  EXPECT_TRUE(getIfNotEmpty(eval("[]")).empty());
  EXPECT_TRUE(getIfNotEmpty(eval("'abc'")).empty());
  EXPECT_TRUE(getIfNotEmpty(eval("({length: 2})")).empty());
  EXPECT_FALSE(getIfNotEmpty(eval("[function () {}]")).empty());
}

TEST_F(BridgeTest, ArrayPointersCoverTheViewOnly) {
  ScriptValue bytes = eval("new Uint8Array([1, 2, 3, 4, 5, 6, 7, 8]).subarray(4)");
  auto [data, count] = getArrayPtrLen<uint8_t>(bytes);
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(count, 4u);
  EXPECT_EQ(data[0], 5);
  auto [words, wordCount] = getArrayPtrLen<uint16_t>(bytes);
  EXPECT_EQ(wordCount, 2u);
  EXPECT_EQ(static_cast<void*>(words), static_cast<void*>(data));
  EXPECT_EQ(getArrayPtr<float>(eval("[1, 2]")), nullptr);
}

TEST_F(BridgeTest, NativeCallbackRunsTheFunctionOfItsPath) {
  CallbackRegistry& registry = CallbackRegistry::shared();
  std::vector<size_t> argumentCounts;
  registry.set("test.echo", [&](const std::vector<ScriptValue>& args) -> NativeValue {
    argumentCounts.push_back(args.size());
    if (args.empty()) return {};
    if (args[0].isString()) return NativeValue::Dict{{"echo", args[0].toString()}};
    return args[0];
  });
  context.setGlobal("echo", registry.makeFunction(context, "test.echo"));
  EXPECT_EQ(json(context, "[echo(), echo() === null]"), "[null,true]");
  EXPECT_EQ(json(context, "echo('hi')"), R"({"echo":"hi"})");
  EXPECT_EQ(json(context, "(function () { var o = [1]; return echo(o) === o; })()"), "true");
  EXPECT_EQ(argumentCounts, (std::vector<size_t>{0, 0, 1, 1}));
}

TEST_F(BridgeTest, UnknownPathLogsAndGivesUndefined) {
  context.setGlobal("ghost", CallbackRegistry::shared().makeFunction(context, "test.nobody"));
  ::testing::internal::CaptureStdout();
  context.evaluate("var result = ghost(1);");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Callback test.nobody not found\n");
  EXPECT_TRUE(context.globalObject().get("result").isUndefined());
}

}  // namespace
}  // namespace talvero
