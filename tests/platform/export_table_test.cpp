#include <gtest/gtest.h>

#include <cmath>
#include <optional>

#include "platform/script/export_table.h"
#include "test_support.h"

namespace talvero {
namespace {

using testing::json;

class ExportTableTest : public testing::ScriptTest {
 protected:
  void install(const ExportTable& table) { context.setGlobal("api", table.instantiate(context)); }
};

TEST_F(ExportTableTest, ArgumentsArriveByDeclaredType) {
  struct Seen {
    int32_t i32;
    int64_t i64;
    float f;
    double d;
    bool b;
    std::string s;
    bool valueIsArray;
  } seen{};
  ExportTable table;
  table.add("take", [&](int32_t i32, int64_t i64, float f, double d, bool b, std::string s,
                        ScriptValue v) { seen = {i32, i64, f, d, b, s, v.isArray()}; });
  install(table);
  context.evaluate("api.take(4294967297.7, 8589934592.9, 0.1, '2.5', '', 12, [1])");
  EXPECT_EQ(seen.i32, 1);
  EXPECT_EQ(seen.i64, 8589934592);
  EXPECT_EQ(seen.f, 0.1f);
  EXPECT_EQ(seen.d, 2.5);
  EXPECT_FALSE(seen.b);
  EXPECT_EQ(seen.s, "12");
  EXPECT_TRUE(seen.valueIsArray);
  EXPECT_TRUE(exceptions.empty());
}

TEST_F(ExportTableTest, MissingArgumentsConvertAsUndefinedAndExtraOnesAreIgnored) {
  int calls = 0;
  double number = 0;
  int32_t integer = -1;
  bool flag = true;
  std::string text;
  bool undefinedValue = false;
  ExportTable table;
  table.add("take", [&](double d, int32_t i, bool b, std::string s, ScriptValue v) {
    ++calls;
    number = d, integer = i, flag = b, text = s, undefinedValue = v.isUndefined();
  });
  install(table);
  context.evaluate("api.take()");
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(std::isnan(number));
  EXPECT_EQ(integer, 0);
  EXPECT_FALSE(flag);
  EXPECT_EQ(text, "undefined");
  EXPECT_TRUE(undefinedValue);
  context.evaluate("api.take(1, 2, true, 's', null, 'extra', 'more')");
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(integer, 2);
}

TEST_F(ExportTableTest, ResultsComeBackAsStringNumberBooleanValueOrUndefined) {
  ExportTable table;
  table.add("none", [] {})
      .add("text", [] { return std::string("ok"); })
      .add("number", [](int64_t a, int64_t b) { return a + b; })
      .add("flag", [] { return true; })
      .add("same", [](ScriptValue v) { return v; })
      .add("maybe", [](bool give) { return give ? std::optional<std::string>("x") : std::nullopt; })
      .add("data", [] {
        return NativeValue(NativeValue::Dict{{"w", 3}, {"list", NativeValue::Array{1}}});
      });
  install(table);
  EXPECT_EQ(json(context, "[typeof api.none(), api.text(), api.number(2, 3), api.flag()]"),
            R"(["undefined","ok",5,true])");
  EXPECT_EQ(json(context, "(function () { var o = {}; return api.same(o) === o; })()"), "true");
  EXPECT_EQ(json(context, "[api.maybe(true), api.maybe(false)]"), R"(["x",null])");
  EXPECT_EQ(json(context, "api.data()"), R"({"w":3,"list":[1]})");
}

TEST_F(ExportTableTest, OperationsBehaveAsFunctions) {
  ExportTable table;
  table.add("twice", [](double x) { return 2 * x; });
  install(table);
  EXPECT_EQ(json(context,
                 "[typeof api.twice, api.twice.call(null, 2), api.twice.apply(null, [3]), "
                 "api.twice.bind(null, 4)()]"),
            "[\"function\",4,6,8]");
  EXPECT_TRUE(exceptions.empty());
}

TEST_F(ExportTableTest, CallingContextIsTheScriptsOwn) {
  ScriptContext seen;
  ExportTable table;
  table.add("who", [&] { seen = ScriptContext::current(); });
  ScriptContext other = ScriptContext::create();
  install(table);
  other.setGlobal("api", table.instantiate(other));
  other.evaluate("api.who()");
  EXPECT_TRUE(seen == other);
  context.evaluate("api.who()");
  EXPECT_TRUE(seen == context);
  EXPECT_TRUE(ScriptContext::current().empty());
}

TEST_F(ExportTableTest, PropertiesAreReadOnlyAndReadAtEachAccess) {
  std::string language = "en";
  ExportTable table;
  table.addProperty("language", [&] { return language; });
  install(table);
  EXPECT_EQ(json(context, "api.language"), "\"en\"");
  language = "fr";
  EXPECT_EQ(json(context, "api.language"), "\"fr\"");
  context.evaluate("api.language = 'de';");
  EXPECT_EQ(json(context, "[api.language, typeof api.language]"), R"(["fr","string"])");
  context.evaluate("(function () { 'use strict'; api.language = 'de'; })()");
  ASSERT_EQ(exceptions.size(), 1u);
  EXPECT_EQ(exceptions[0].rfind("TypeError", 0), 0u);
}

TEST_F(ExportTableTest, GlobalsAreInstalledInTableOrder) {
  ExportTable table;
  table.add("first", [] { return 1; }).add("second", [] { return 2; });
  table.installGlobals(context);
  EXPECT_EQ(json(context, "Object.keys(globalThis).filter(k => k === 'first' || k === 'second')"),
            R"(["first","second"])");
  EXPECT_EQ(json(context, "first() + second()"), "3");
}

TEST_F(ExportTableTest, OperationsOutliveTheirTable) {
  auto table = std::make_unique<ExportTable>();
  table->add("still", [] { return std::string("here"); });
  install(*table);
  table.reset();
  EXPECT_EQ(json(context, "api.still()"), "\"here\"");
}

}  // namespace
}  // namespace talvero
