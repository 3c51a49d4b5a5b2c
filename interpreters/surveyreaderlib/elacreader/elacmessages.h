// The messages with which a client sets up a data stream from an XSE server:
// the request and its acknowledge on the server's port, then three fixed
// set-up frames on the data port that the acknowledge names.
//
// Each message is one XSE communication frame (type 8) held as a byte record
// of exactly its wire layout, always in host byte order. A send takes
// WireBytes(), a copy with the numeric fields in network order, so the record
// is never seen half converted; ToNetworkOrder() reverses the fields in place
// (it is its own inverse) and turns a received record into host order once.
// Fields are reached through memcpy at their offsets, since several 4-byte
// fields are not 4-byte aligned. Markers, the sender's address and the
// client name are byte strings and never swapped.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace elac {

// `unixSeconds` (0: now) as whole seconds since 1901-01-01 00:00:00 UTC, the
// XSE time base, modulo 2^32.
uint32_t XseNow(int64_t unixSeconds = 0);

using Ipv4Address = std::array<uint8_t, 4>;  // first octet first

// A communication frame of N bytes: the common header and field access.
template <size_t N>
class CommFrame {
 public:
  static constexpr size_t kSize = N;

  std::span<const uint8_t, N> Bytes() const { return bytes_; }
  std::span<uint8_t, N> Bytes() { return bytes_; }

  uint32_t Word(size_t offset) const { return Load<uint32_t>(offset); }
  void SetWord(size_t offset, uint32_t value) { Store(offset, value); }
  uint16_t HalfWord(size_t offset) const { return Load<uint16_t>(offset); }
  void SetHalfWord(size_t offset, uint16_t value) { Store(offset, value); }

  uint32_t SequenceNumber() const { return Word(24); }
  void SetSequenceNumber(uint32_t value) { SetWord(24, value); }
  Ipv4Address SenderAddress() const;
  void SetSenderAddress(const Ipv4Address& address);

 protected:
  // A fresh header for a frame of `frameLength` bytes: start and end
  // markers, size S = frameLength - 12, frame type 8, the time from XseNow().
  void BuildHeader(size_t frameLength);
  // A group at `offset`: start marker, size G, type; its end marker after G.
  void BuildGroup(size_t offset, uint32_t size, uint32_t type);
  // Reverses the 4-byte fields at `wordOffsets` and the 2-byte ones at
  // `halfWordOffsets` (nothing to do on a big-endian host).
  void Swap(std::span<const uint8_t> wordOffsets, std::span<const uint8_t> halfWordOffsets);

  std::array<uint8_t, N> bytes_{};

 private:
  // In host order: the record is converted as a whole before and after a send.
  template <typename T>
  T Load(size_t offset) const {
    T value;
    std::memcpy(&value, bytes_.data() + offset, sizeof value);
    return value;
  }
  template <typename T>
  void Store(size_t offset, T value) {
    std::memcpy(bytes_.data() + offset, &value, sizeof value);
  }
};

// Client to server on the server's port, once to ask (link code 1) and
// again at release (link code 2).
class RequestFrame : public CommFrame<102> {
 public:
  static constexpr uint16_t kRequestPort = 3400;
  static constexpr uint32_t kLinkAsk = 1;
  static constexpr uint32_t kLinkRelease = 2;
  // What a client says it is: two values only the server interprets.
  static constexpr uint32_t kClientIdentification = 107;
  static constexpr uint32_t kClientIdentificationQualifier = 1;

  // The template: port 3400, link code 1, identification 107 and 1, name
  // length 16, empty name, sequence number and address zero.
  static RequestFrame Build();
  void ToNetworkOrder();

  uint16_t Port() const { return HalfWord(44); }
  void SetPort(uint16_t port) { SetHalfWord(44, port); }
  uint32_t LinkCode() const { return Word(46); }
  void SetLinkCode(uint32_t code) { SetWord(46, code); }
  void SetIdentification(uint32_t first, uint32_t second);
  void SetClientIdentification() {
    SetIdentification(kClientIdentification, kClientIdentificationQualifier);
  }
  // The first 16 bytes of `name`, zero-padded; no terminator when it fills
  // all 16.
  void SetName(std::string_view name);
};

// Server to client on the server's port. The record has 16,384 bytes of room
// behind the 82-byte frame; at release it is sent back whole.
class AcknowledgeFrame : public CommFrame<16466> {
 public:
  static constexpr size_t kFrameLength = 82;

  static AcknowledgeFrame Build();
  // Leaves the group sizes and types (36, 40, 58, 62) as they are: in a
  // received acknowledge they stay in network order and go back unchanged.
  void ToNetworkOrder();

  // Takes a reply read from the server's port: false, and the record left as
  // it was, when it is shorter than an acknowledge. Otherwise its first
  // 16,466 bytes (all of it, when shorter) replace the record's and the
  // record is converted from network order. Nothing in it is checked.
  bool Receive(std::span<const uint8_t> reply);

  // The data port, as a port number and as the signed value that trace lines
  // print and the release check compares.
  uint16_t DataPort() const { return HalfWord(44); }
  int16_t SignedDataPort() const { return static_cast<int16_t>(HalfWord(44)); }
  uint32_t LinkCode() const { return Word(46); }
  void SetLinkCode(uint32_t code) { SetWord(46, code); }
};

// The three fixed set-up frames, sent in order on the data port: one group
// of type 6 holding a code, 1, a count, and that many values.
template <size_t N>
class SetupFrame : public CommFrame<N> {
 public:
  void ToNetworkOrder();

 protected:
  void BuildSetup(uint32_t code, std::span<const uint32_t> values);
};

class SetupFrame1 : public SetupFrame<76> {
 public:
  static SetupFrame1 Build();  // code 1: 1, 2, 11
};
class SetupFrame2 : public SetupFrame<92> {
 public:
  static SetupFrame2 Build();  // code 6: 1, 2, 4, 7, 8, 9, 19
};
class SetupFrame3 : public SetupFrame<72> {
 public:
  static SetupFrame3 Build();  // code 5: 1, 4
};

// `frame` as it goes on the wire: a copy with its numeric fields in network
// order. On the stack; nothing is allocated.
template <typename Frame>
std::array<uint8_t, Frame::kSize> WireBytes(const Frame& frame) {
  Frame wire = frame;
  wire.ToNetworkOrder();
  std::array<uint8_t, Frame::kSize> bytes;
  std::copy(wire.Bytes().begin(), wire.Bytes().end(), bytes.begin());
  return bytes;
}

}  // namespace elac
