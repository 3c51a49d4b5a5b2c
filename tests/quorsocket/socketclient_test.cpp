#include "quorsocket/socketclient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <functional>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "platform/framework/asyncselect.h"
#include "quorsocket/sockettestsupport.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;
using Bytes = std::vector<uint8_t>;

constexpr std::array<uint8_t, 4> kLoopback = {127, 0, 0, 1};

// Every delivery the client makes, in order.
std::vector<Bytes> g_delivered;
int32_t Record(uint16_t, int32_t length, const uint8_t* data, uint32_t) {
  g_delivered.emplace_back(data, data + length);
  return 0;
}

class TestClient : public CSocketClient {
 public:
  using CSocketClient::CSocketClient;
  int32_t packetLength() const { return packetLength_; }
  int32_t bufferedBytes() const { return bufferedBytes_; }
  platform::SocketHandle socket() const { return socket_; }
};

class SocketClientTest : public sockettest::SocketTest {
 protected:
  void SetUp() override {
    SocketTest::SetUp();
    g_delivered.clear();
    listener_ = Keep(platform::ListenOnLoopback(port_));
    ASSERT_NE(listener_, platform::kInvalidSocket);
  }

  // A client with a window, connected to the listener; `server_` is the
  // accepted end.
  void Connect(TestClient& client, int32_t packetLength) {
    if (client.GetSafeHwnd() == 0) {
      ASSERT_TRUE(client.CreateOnThisThread());
    }
    client.SetReceiveCallback(Record, 7);
    client.SetPacketLength(packetLength);
    ASSERT_EQ(client.EstablishConnection(kLoopback.data(), static_cast<int16_t>(port_), 8192, 3),
              1);
    server_ = Keep(platform::AcceptConnection(listener_));
  }

  // `count` bytes counting up from `first`.
  void ServerSends(size_t count, uint8_t first = 0) {
    Bytes bytes(count);
    for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>(first + i);
    ASSERT_EQ(platform::SendToSocket(server_, bytes.data(), static_cast<int32_t>(count)),
              static_cast<int32_t>(count));
  }

  // Pumps the client's messages until `done` holds; at most two seconds.
  static bool PumpUntil(TestClient& client, const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (std::chrono::steady_clock::now() < end) {
      client.PumpMessages();
      if (done()) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
  }

  uint16_t port_ = 0;
  platform::SocketHandle listener_ = platform::kInvalidSocket;
  platform::SocketHandle server_ = platform::kInvalidSocket;
};

TEST_F(SocketClientTest, PacketLengthIsCappedWithAnErrorLogEntry) {
  TestClient client;
  client.SetPacketLength(MAX_BUFFER_SIZE);
  EXPECT_EQ(client.packetLength(), MAX_BUFFER_SIZE);
  EXPECT_TRUE(boxes_.empty());
  client.SetPacketLength(40000);
  EXPECT_EQ(client.packetLength(), MAX_BUFFER_SIZE);
  EXPECT_THAT(ErrorLog(), HasSubstr("SetPacketLength 40000 bigger than MAX_BUFFER_SIZE 32768"));
  EXPECT_EQ(boxes_.size(), 1u);
}

TEST_F(SocketClientTest, WithoutConnectionSendSucceedsAndCloseDoesNothing) {
  TestClient client;
  const size_t lines = TraceLines().size();
  const uint8_t byte = 1;
  EXPECT_EQ(client.Send(&byte, 1), 1);
  client.CloseConnection();
  EXPECT_FALSE(client.IsConnected());
  EXPECT_EQ(TraceLines().size(), lines);
}

TEST_F(SocketClientTest, AssemblesPacketsThatArriveInPieces) {
  TestClient client(true);
  Connect(client, 92);
  // Each piece is sent only once the one before has been read, so each
  // arrives as a read of its own.
  for (const size_t piece : {size_t{40}, size_t{40}}) {
    const int32_t before = client.bufferedBytes();
    ServerSends(piece, static_cast<uint8_t>(before));
    ASSERT_TRUE(PumpUntil(client, [&] { return client.bufferedBytes() > before; }));
  }
  EXPECT_TRUE(g_delivered.empty());
  ServerSends(12, 80);
  ASSERT_TRUE(PumpUntil(client, [] { return !g_delivered.empty(); }));
  Bytes packet(92);
  for (size_t i = 0; i < packet.size(); ++i) packet[i] = static_cast<uint8_t>(i);
  EXPECT_THAT(g_delivered, ElementsAre(packet));
  EXPECT_EQ(CountLinesEndingWith("Buffered message packet generated! - size: 80+12=92 bytes"), 1u);

  ServerSends(60);
  ASSERT_TRUE(PumpUntil(client, [&] { return client.bufferedBytes() == 60; }));
  ServerSends(50);
  ASSERT_TRUE(PumpUntil(client, [&] { return client.bufferedBytes() == 50; }));
  EXPECT_EQ(g_delivered.size(), 1u);
  EXPECT_EQ(
      CountLinesEndingWith("Packet skipped (60 bytes), but new packet is buffered up (50 bytes)!"),
      1u);
  EXPECT_EQ(CountLinesEndingWith("Packet buffered up (40 bytes)! Total was 40"), 1u);
}

TEST_F(SocketClientTest, WithoutAssemblyEveryReadIsDeliveredAndTheServersCloseEndsIt) {
  TestClient client(false);
  Connect(client, 92);
  ServerSends(5);
  ASSERT_TRUE(PumpUntil(client, [] { return g_delivered.size() == 1; }));
  ServerSends(92);
  ASSERT_TRUE(PumpUntil(client, [] { return g_delivered.size() == 2; }));

  const auto number = std::to_string(static_cast<int32_t>(client.socket()));
  platform::CloseSocket(server_);
  sockets_.pop_back();
  ASSERT_TRUE(PumpUntil(client, [&] { return !client.IsConnected(); }));
  // Each read as it came, then the empty delivery of the close.
  EXPECT_THAT(g_delivered,
              ElementsAre(testing::SizeIs(5), testing::SizeIs(92), testing::IsEmpty()));
  EXPECT_EQ(CountLinesEndingWith("CloseConnection(): closing socket " + number), 1u);
  EXPECT_EQ(CountLinesEndingWith("CloseConnection(): closed " + number), 1u);
}

TEST_F(SocketClientTest, ErrorNotifications) {
  TestClient client;
  Connect(client, 16);
  const auto socket = static_cast<uintptr_t>(client.socket());
  // The port is kept as a signed 16-bit value, and printed so.
  const std::string where =
      "Server/connected-socket: " + std::to_string(static_cast<int16_t>(port_)) + "/" +
      std::to_string(socket);

  // A reset connection is closed quietly.
  EXPECT_EQ(client.OnReceive(socket, 10054 << 16), 1);
  EXPECT_FALSE(client.IsConnected());
  EXPECT_THAT(g_delivered, ElementsAre(Bytes{}));
  EXPECT_TRUE(boxes_.empty());

  // Any other error is shown and gives up the connection.
  Connect(client, 16);
  EXPECT_EQ(client.OnReceive(socket, 10050 << 16 | 1), 10050);
  EXPECT_FALSE(client.IsConnected());
  EXPECT_THAT(boxes_, ElementsAre(Pair("Socket error: 10050", where)));
  EXPECT_EQ(CountLinesEndingWith(
                " The Windows Sockets implementation has detected that the network subsystem "
                "has failed."),
            1u);

  // An unknown event is only shown.
  Connect(client, 16);
  EXPECT_EQ(client.OnReceive(socket, 8), 1);
  EXPECT_TRUE(client.IsConnected());
  EXPECT_THAT(boxes_, ElementsAre(testing::_, Pair("Socket event error: 8",
                                                   "Unknown socket event???   " + where)));

  EXPECT_EQ(client.OnReceive(socket, 10099 << 16 | 1), 10099);
  const std::vector<std::string> lines = TraceLines();
  EXPECT_EQ(
      CountLinesEndingWith(" The socket connection has failed due to a not known error - 10099."),
      1u);
  EXPECT_TRUE(std::regex_search(lines.back(), std::regex("ERR 10099 \\d\\d:\\d\\d:\\d\\d$")))
      << lines.back();
}

TEST_F(SocketClientTest, FailedConnectIsTracedAndLeavesNoConnection) {
  TestClient client;
  ASSERT_TRUE(client.CreateOnThisThread());
  EXPECT_EQ(
      client.EstablishConnection(kLoopback.data(), static_cast<int16_t>(ClosedPort()), 8192, 1), 0);
  EXPECT_FALSE(client.IsConnected());
  EXPECT_THAT(
      TraceLines(),
      testing::Contains(HasSubstr("CSocketClient::EstablishConnection() failed!? socket:")));
}

}  // namespace
