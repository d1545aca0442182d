#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/script/script_context.h"

namespace talvero::testing {

// JSON text of an expression, for compact comparisons.
inline std::string json(const ScriptContext& context, const std::string& expression) {
  context.evaluate("var __json = JSON.stringify(" + expression + ");");
  return context.globalObject().get("__json").toString();
}

// A fresh context whose exceptions are collected instead of ending the process.
class ScriptTest : public ::testing::Test {
 protected:
  void SetUp() override {
    context = ScriptContext::create();
    ASSERT_FALSE(context.empty());
    context.setExceptionHandler([this](const ScriptContext& from, const ScriptValue& exception) {
      EXPECT_TRUE(from == context);
      exceptions.push_back(exception.toString());
    });
  }

  // The value of a script expression.
  ScriptValue eval(const std::string& expression) {
    context.evaluate("var __value = (" + expression + ");");
    return context.globalObject().get("__value");
  }

  ScriptContext context;
  std::vector<std::string> exceptions;
};

}  // namespace talvero::testing
