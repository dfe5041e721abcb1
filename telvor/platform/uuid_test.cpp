#include "telvor/platform/uuid.hpp"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <set>

#include "support/coding_support.hpp"
#include "support/memory_format.hpp"

namespace telvor {
namespace {

TEST(UUID, RandomHasVersion4AndTheRfcVariantAndIsUnique) {
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) {  // past several refills of a thread's random bytes
    const auto id = UUID::random();
    EXPECT_EQ(id.bytes()[6] >> 4, 4);
    EXPECT_EQ(id.bytes()[8] >> 6, 2);
    const auto text = id.uuidString();
    ASSERT_EQ(text.size(), 36u);
    EXPECT_EQ(text.find_first_of("abcdef"), std::string::npos);
    EXPECT_TRUE(seen.insert(text).second);
  }
}

TEST(UUID, AForkedChildNeverRepeatsItsParentsIdentifiers) {
  (void)UUID::random();  // the parent now holds random bytes in store
  int pipe[2];
  ASSERT_EQ(::pipe(pipe), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    const auto id = UUID::random().uuidString();
    const bool sent = ::write(pipe[1], id.data(), id.size()) == static_cast<ssize_t>(id.size());
    ::_exit(sent ? 0 : 1);
  }
  ::close(pipe[1]);
  const std::string parents = UUID::random().uuidString();
  char text[36] = {};
  const ssize_t got = ::read(pipe[0], text, sizeof text);
  ::close(pipe[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  ASSERT_EQ(got, 36);
  EXPECT_NE(std::string(text, 36), parents);
}

TEST(UUID, ParsesTheHyphenatedFormInEitherCaseOnly) {
  const auto upper = UUID::fromString("E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
  ASSERT_TRUE(upper);
  EXPECT_EQ(upper->uuidString(), "E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
  EXPECT_EQ(UUID::fromString("e621e1f8-c36c-495a-93fc-0c247a3e6e5f"), upper);
  for (const char* bad : {"", "E621E1F8C36C495A93FC0C247A3E6E5F", "{E621E1F8-C36C-495A-93FC-0C247A3E6E5F}",
                          "E621E1F8-C36C-495A-93FC-0C247A3E6E5", "E621E1F8-C36C-495A-93FC-0C247A3E6E5FF",
                          "E621E1F8-C36C-495A-93FC_0C247A3E6E5F", "G621E1F8-C36C-495A-93FC-0C247A3E6E5F",
                          " 621E1F8-C36C-495A-93FC-0C247A3E6E5F", "E621E1F8-C36C-495A-93F-C0C247A3E6E5F",
                          "E621E1F8-C36C-495A-93FC-0C247A3E6E5g", "E621E1F8-C36C-495A-93FC-0C247A3E6E5\xFF",
                          "E621E1F8-C36C-495A-93FC-0C247A3E6E\x80" "F"})
    EXPECT_FALSE(UUID::fromString(bad)) << bad;
}

TEST(UUID, CodedFormIsTheCanonicalText) {
  const auto id = *UUID::fromString("e621e1f8-c36c-495a-93fc-0c247a3e6e5f");
  using namespace testing_support;
  EXPECT_EQ(toValue(id), Value("E621E1F8-C36C-495A-93FC-0C247A3E6E5F"));
  EXPECT_EQ(fromValue<UUID>("e621e1f8-c36c-495a-93fc-0c247a3e6e5f"), id);
  EXPECT_EQ(capture<DecodingError>([] { fromValue<UUID>("not-a-uuid"); }).kind(), DecodingError::Kind::dataCorrupted);
  EXPECT_EQ(capture<DecodingError>([] { fromValue<UUID>(5); }).kind(), DecodingError::Kind::typeMismatch);
}

}  // namespace
}  // namespace telvor
