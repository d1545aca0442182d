#include "runtime/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace talvero {
namespace {

std::string repaired(const std::string& bytes) {
  return decodeUtf8Repairing(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

TEST(Utf8, StrictCheckRefusesOverlongSurrogateAndCutSequences) {
  EXPECT_TRUE(isValidUtf8("plain · — 😀"));
  EXPECT_TRUE(isValidUtf8(""));
  EXPECT_FALSE(isValidUtf8("\xC0\xAF"));          // overlong "/"
  EXPECT_FALSE(isValidUtf8("\xED\xA0\x80"));      // a UTF-16 surrogate
  EXPECT_FALSE(isValidUtf8("\xE2\x82"));          // cut at the end
  EXPECT_FALSE(isValidUtf8("\xF4\x90\x80\x80"));  // beyond U+10FFFF
  EXPECT_FALSE(isValidUtf8("a\x80z"));
}

TEST(Utf8, RepairingKeepsValidTextAndReplacesEachBrokenSequenceOnce) {
  EXPECT_EQ(repaired("plain · 😀"), "plain · 😀");
  // A slice through the middle of "€" (E2 82 AC) at either end.
  EXPECT_EQ(repaired("\x82\xAC"
                     "ab"),
            "\xEF\xBF\xBD\xEF\xBF\xBD"
            "ab");
  EXPECT_EQ(repaired("ab\xE2\x82"), "ab\xEF\xBF\xBD");
  EXPECT_EQ(repaired("a\xFFz"), "a\xEF\xBF\xBDz");
  EXPECT_EQ(repaired("\xED\xA0\x80!"), "\xEF\xBF\xBD!");
  EXPECT_TRUE(isValidUtf8(repaired("\xC0\xAF\xF4\x90\x80\x80\xE2")));
}

}  // namespace
}  // namespace talvero
