// The retrieve check against dcmqrscp holding one instance: C-MOVE to this side's own
// listener and C-GET on the association, with every answer the check can give.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "telvor/dcmtk/echo.hpp"
#include "testing/local_peers.hpp"

namespace telvor::dcmtk {
namespace {

using namespace std::chrono_literals;
using namespace test_peers;
using ::testing::HasSubstr;

class RetrieveCheckAgainstDcmqrscp : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* program : {"dcmqrscp", "storescu", "dump2dcm"})
      if (findProgram(program).empty()) GTEST_SKIP() << program << " is not installed (Debian package dcmtk)";
    listenPort = freePort();
    const fs::path instance = makeTestInstance(dir);
    ASSERT_FALSE(instance.empty()) << slurpLog("dump2dcm.log");
    archive = startArchive(dir, "TELVOR", listenPort, instance);
    ASSERT_TRUE(archive) << slurpLog("archive.log") << slurpLog("storescu.log");
  }
  std::string slurpLog(const char* name) const { return testing_support::slurp(dir / name); }

  RetrieveAnswer retrieve(const std::string& address, const std::string& called, const std::string& calling,
                          RetrieveCheck check) const {
    const EchoResult result =
        echo({address, archive->port(), called, std::nullopt}, calling, EchoOptions{10s, false, std::move(check)});
    EXPECT_TRUE(result.answered()) << result.reason;
    EXPECT_TRUE(result.retrieve.has_value());
    return result.retrieve.value_or(RetrieveAnswer{});
  }
  RetrieveCheck move(std::vector<std::string> acceptFrom = {}) const {
    return {true, listenPort, std::move(acceptFrom), RetrieveCheck{}.maxInstanceBytes};
  }

  TempDir dir;
  std::uint16_t listenPort = 0;
  std::unique_ptr<ServerProcess> archive;
};

TEST_F(RetrieveCheckAgainstDcmqrscp, EachServiceGivesYesNoOrUnknownAsThePeerAnswers) {
  struct Case {
    const char* what;
    std::string called, calling;
    RetrieveCheck check;
    RetrieveOutcome outcome;
    std::vector<std::string> said;
  };
  const std::string port = std::to_string(listenPort);
  const std::vector<Case> cases{
      {"C-MOVE to a destination the peer knows", "ARCHIVE", "TELVOR", move(), RetrieveOutcome::yes, {}},
      {"C-MOVE to a destination the peer does not know", "ARCHIVE", "STRANGER", move(), RetrieveOutcome::no,
       {"the peer does not know STRANGER as a move destination; add STRANGER with this computer's address and port " +
        port + " to its list of peers"}},
      {"C-MOVE from an AE title holding nothing", "EMPTY", "TELVOR", move(), RetrieveOutcome::unknown,
       {"holds nothing to retrieve"}},
      {"C-MOVE without a port to listen on", "ARCHIVE", "TELVOR", RetrieveCheck{true, 0, {}, RetrieveCheck{}.maxInstanceBytes}, RetrieveOutcome::unknown,
       {"needs the port this computer receives on"}},
      {"C-GET by any AE title", "ARCHIVE", "STRANGER", RetrieveCheck{}, RetrieveOutcome::yes, {}},
      {"C-GET from an AE title holding nothing", "EMPTY", "STRANGER", RetrieveCheck{}, RetrieveOutcome::unknown,
       {"holds nothing to retrieve"}},
  };
  for (const auto& c : cases) {
    const RetrieveAnswer answer = retrieve("127.0.0.1", c.called, c.calling, c.check);
    EXPECT_EQ(answer.outcome, c.outcome) << c.what << ": " << answer.reason;
    EXPECT_EQ(answer.answered(), c.outcome == RetrieveOutcome::yes) << c.what;
    for (const auto& text : c.said) EXPECT_THAT(answer.reason, HasSubstr(text)) << c.what;
  }
}

// The peer is reached at 127.0.0.2 and sends from 127.0.0.1: the listener refuses that
// address unless it is allowed, and an instance over the size bound is refused.
TEST_F(RetrieveCheckAgainstDcmqrscp, TheListenerTakesOnlyThePeersAddressAndBoundedInstances) {
  const RetrieveAnswer foreign = retrieve("127.0.0.2", "ARCHIVE", "TELVOR", move());
  EXPECT_EQ(foreign.outcome, RetrieveOutcome::no) << foreign.reason;
  EXPECT_THAT(foreign.reason, HasSubstr("refused an association from 127.0.0.1 (AE title \"ARCHIVE\")"));

  const RetrieveAnswer allowed = retrieve("127.0.0.2", "ARCHIVE", "TELVOR", move({"127.0.0.1"}));
  EXPECT_EQ(allowed.outcome, RetrieveOutcome::yes) << allowed.reason;

  RetrieveCheck tiny = move();
  tiny.maxInstanceBytes = 64;
  const RetrieveAnswer moved = retrieve("127.0.0.1", "ARCHIVE", "TELVOR", tiny);
  EXPECT_EQ(moved.outcome, RetrieveOutcome::no) << moved.reason;
  EXPECT_THAT(moved.reason, HasSubstr("larger than 64 bytes"));
  RetrieveCheck tinyGet;
  tinyGet.maxInstanceBytes = 64;
  const RetrieveAnswer got = retrieve("127.0.0.1", "ARCHIVE", "TELVOR", tinyGet);
  EXPECT_NE(got.outcome, RetrieveOutcome::yes) << got.reason;
  EXPECT_THAT(got.reason, HasSubstr("larger than 64 bytes"));
}

// Two C-MOVE checks on one listening port at once take turns rather than fail to listen.
TEST_F(RetrieveCheckAgainstDcmqrscp, MoveChecksOnOnePortTakeTurns) {
  RetrieveAnswer first, second;
  std::thread other([&] { first = retrieve("127.0.0.1", "ARCHIVE", "TELVOR", move()); });
  second = retrieve("127.0.0.1", "ARCHIVE", "TELVOR", move());
  other.join();
  EXPECT_EQ(first.outcome, RetrieveOutcome::yes) << first.reason;
  EXPECT_EQ(second.outcome, RetrieveOutcome::yes) << second.reason;
}

}  // namespace
}  // namespace telvor::dcmtk
