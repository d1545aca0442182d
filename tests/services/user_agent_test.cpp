#include "services/user_agent.h"

#include <gtest/gtest.h>

namespace talvero {
namespace {

TEST(UserAgent, NamesTheProductAndTheKernelVersionWithoutAZeroPatch) {
  EXPECT_EQ(systemVersionOf("6.1.0-13-amd64"), "6.1");
  EXPECT_EQ(systemVersionOf("6.18.44-fc-v769"), "6.18.44");
  EXPECT_EQ(systemVersionOf("5.10"), "5.10");
  EXPECT_EQ(systemVersionOf("6.2.00"), "6.2");
  EXPECT_EQ(systemVersionOf("rolling"), "rolling");
  const std::string& agent = defaultUserAgent();
  EXPECT_EQ(agent.rfind("Talvero/1.0.2 (Linux; ", 0), 0u) << agent;
  EXPECT_EQ(agent.back(), ')');
  EXPECT_EQ(&agent, &defaultUserAgent());
}

}  // namespace
}  // namespace talvero
