// The echo's deadline against peers that hold it up, its IPv6 addresses, and its query check.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "telvor/dcmtk/echo.hpp"
#include "testing/local_peers.hpp"

namespace telvor::dcmtk {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using namespace telvor::dcmtk::test_peers;

constexpr auto kTimeout = 2s;

struct Timed {
  EchoResult result;
  std::chrono::steady_clock::duration elapsed;
};

Timed timedEcho(const EchoTarget& target, const EchoOptions& options) {
  const auto start = std::chrono::steady_clock::now();
  EchoResult result = echo(target, "TELVOR-TEST", options);
  return {std::move(result), std::chrono::steady_clock::now() - start};
}

TEST(EchoDeadline, APeerThatTricklesBytesIsCutOffAtTheDeadline) {
  struct Case {
    std::string label;
    std::vector<unsigned char> header;  // sent at once; the body it announces then trickles
    std::optional<EchoTls> tls;
  };
  const Case cases[] = {
      // An A-ASSOCIATE-AC announcing 4 KiB: DCMTK reads the body with a timeout per read.
      {"TCP", {0x02, 0x00, 0x00, 0x00, 0x10, 0x00}, std::nullopt},
      // A TLS handshake record announcing 16 KiB, in the middle of the handshake.
      {"TLS", {0x16, 0x03, 0x03, 0x40, 0x00}, EchoTls{TLSSecurityProfile::profile4, false, {}, {}, {}}},
  };
  for (const auto& c : cases) {
    TricklingPeer peer(c.header);
    ASSERT_TRUE(peer.ready());
    const Timed t = timedEcho({"127.0.0.1", peer.port(), "ARCHIVE", c.tls}, {kTimeout, true});
    EXPECT_EQ(t.result.outcome, EchoOutcome::timedOut) << c.label << ": " << t.result.reason;
    EXPECT_THAT(t.result.reason, HasSubstr("did not answer the association request within 2 s")) << c.label;
    EXPECT_FALSE(t.result.query) << c.label;
    EXPECT_LT(t.elapsed, kTimeout + 1s) << c.label;
    EXPECT_LE(t.result.elapsed, t.elapsed) << c.label;
    EXPECT_GE(peer.bodyBytesSent(), 2) << c.label << ": the peer did not trickle";
  }
}

TEST(EchoAddresses, Ipv6AddressesWorkWithAndWithoutBrackets) {
  if (findProgram("storescp").empty()) GTEST_SKIP() << "storescp is not installed";
  TempDir dir;
  ServerProcess scp({findProgram("storescp"), "-od", dir.path().string()}, dir / "storescp.log");
  ASSERT_TRUE(scp.ready());
  Ipv6Relay relay(scp.port());
  if (!relay.ready()) GTEST_SKIP() << "this computer has no IPv6 loopback address (::1)";
  for (const char* address : {"::1", "[::1]", "0:0:0:0:0:0:0:1"}) {
    const EchoResult result = echo({address, relay.port(), "STORESCP", std::nullopt}, "TELVOR-TEST", kTimeout);
    EXPECT_TRUE(result.answered()) << address << ": " << result.reason;
  }

  // A port bound but not listening refuses; the reason writes the address in brackets.
  const int bound = ::socket(AF_INET6, SOCK_STREAM, 0);
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_addr = in6addr_loopback;
  socklen_t length = sizeof address;
  ASSERT_EQ(::bind(bound, reinterpret_cast<sockaddr*>(&address), length), 0);
  ASSERT_EQ(::getsockname(bound, reinterpret_cast<sockaddr*>(&address), &length), 0);
  const std::uint16_t closed = ntohs(address.sin6_port);
  const EchoResult refused = echo({"::1", closed, "STORESCP", std::nullopt}, "TELVOR-TEST", kTimeout);
  ::close(bound);
  EXPECT_EQ(refused.outcome, EchoOutcome::connectionRefused) << refused.reason;
  EXPECT_THAT(refused.reason, HasSubstr("Connection to [::1]:" + std::to_string(closed) + " refused"));
}

TEST(EchoQueryCheck, DcmqrscpAnswersQueriesAndStorescpRefusesThem) {
  if (findProgram("dcmqrscp").empty() || findProgram("storescp").empty())
    GTEST_SKIP() << "dcmqrscp or storescp is not installed";
  TempDir dir;
  ServerProcess archive = startDcmqrscp(dir, "ARCHIVE");
  ServerProcess store({findProgram("storescp"), "-od", dir.path().string()}, dir / "storescp.log");
  ASSERT_TRUE(archive.ready() && store.ready());

  const EchoResult answered = echo({"127.0.0.1", archive.port(), "ARCHIVE", std::nullopt}, "TELVOR-TEST",
                                   EchoOptions{5s, true});
  ASSERT_TRUE(answered.answered()) << answered.reason;
  ASSERT_TRUE(answered.query);
  EXPECT_EQ(answered.query->outcome, QueryOutcome::answered) << answered.query->reason;
  EXPECT_EQ(title(answered.query->outcome), "yes");

  const EchoResult refused = echo({"127.0.0.1", store.port(), "STORESCP", std::nullopt}, "TELVOR-TEST",
                                  EchoOptions{5s, true});
  ASSERT_TRUE(refused.answered()) << refused.reason;
  ASSERT_TRUE(refused.query);
  EXPECT_EQ(refused.query->outcome, QueryOutcome::refused);
  EXPECT_THAT(refused.query->reason, HasSubstr("127.0.0.1:" + std::to_string(store.port()) +
                                               " does not offer Study Root C-FIND to this application"));

  // Without the check, no query is asked.
  EXPECT_FALSE(echo({"127.0.0.1", archive.port(), "ARCHIVE", std::nullopt}, "TELVOR-TEST", 5s).query);
}

}  // namespace
}  // namespace telvor::dcmtk
