#include "platform/net/url.h"

#include <gtest/gtest.h>

namespace talvero::net {
namespace {

TEST(UrlCheck, TakesAbsoluteWellFormedUrlsOnly) {
  EXPECT_TRUE(isParsableUrl("http://127.0.0.1:8080/a/b?c=d#e"));
  EXPECT_TRUE(isParsableUrl("wss://example.com/socket"));
  EXPECT_TRUE(isParsableUrl("https://example.com/a%20b"));
  EXPECT_FALSE(isParsableUrl(""));
  EXPECT_FALSE(isParsableUrl("not a url"));
  EXPECT_FALSE(isParsableUrl("http://exa mple.com/"));
  EXPECT_FALSE(isParsableUrl("https://example.com/%zz"));
  EXPECT_FALSE(isParsableUrl("relative/path"));  // nothing to connect to without a scheme
}

}  // namespace
}  // namespace talvero::net
