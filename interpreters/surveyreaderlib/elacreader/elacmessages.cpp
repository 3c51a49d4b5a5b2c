#include "interpreters/surveyreaderlib/elacreader/elacmessages.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cstring>

#include "interpreters/surveyreaderlib/elacreader/bytecursor.h"
#include "interpreters/surveyreaderlib/elacreader/xseformat.h"

namespace elac {

namespace {

constexpr uint32_t kCommunicationFrame = 8;
constexpr uint32_t kSetupGroup = 6;
constexpr uint32_t kLinkGroup = 8;
constexpr uint32_t kIdentificationGroup = 10;

constexpr bool kHostIsLittleEndian = std::endian::native == std::endian::little;

void PutMarker(uint8_t* at, const char (&marker)[5]) { std::memcpy(at, marker, 4); }

}  // namespace

// Seconds since 1970 plus the 25202 days from 1901. The time base is UTC;
// working in UTC throughout also gives the right answer in zones whose
// offset is not a whole number of hours.
uint32_t XseNow(int64_t unixSeconds) {
  if (unixSeconds == 0) {
    unixSeconds = std::chrono::duration_cast<std::chrono::seconds>(
                      std::chrono::system_clock::now().time_since_epoch())
                      .count();
  }
  return static_cast<uint32_t>(static_cast<uint64_t>(unixSeconds) + kXseEpochOffset);
}

template <size_t N>
Ipv4Address CommFrame<N>::SenderAddress() const {
  Ipv4Address address;
  std::memcpy(address.data(), bytes_.data() + 28, address.size());
  return address;
}

template <size_t N>
void CommFrame<N>::SetSenderAddress(const Ipv4Address& address) {
  std::memcpy(bytes_.data() + 28, address.data(), address.size());
}

template <size_t N>
void CommFrame<N>::BuildHeader(size_t frameLength) {
  PutMarker(bytes_.data(), "$HSF");
  SetWord(4, static_cast<uint32_t>(frameLength - 12));
  SetWord(8, kCommunicationFrame);
  SetWord(16, XseNow());
  PutMarker(bytes_.data() + frameLength - 4, "#HSF");
}

template <size_t N>
void CommFrame<N>::BuildGroup(size_t offset, uint32_t size, uint32_t type) {
  PutMarker(bytes_.data() + offset, "$HSG");
  SetWord(offset + 4, size);
  SetWord(offset + 8, type);
  PutMarker(bytes_.data() + offset + 8 + size, "#HSG");
}

template <size_t N>
void CommFrame<N>::Swap(std::span<const uint8_t> wordOffsets,
                        std::span<const uint8_t> halfWordOffsets) {
  if constexpr (!kHostIsLittleEndian) return;
  for (const uint8_t offset : wordOffsets) SetWord(offset, ByteSwap(Word(offset)));
  for (const uint8_t offset : halfWordOffsets) SetHalfWord(offset, ByteSwap(HalfWord(offset)));
}

RequestFrame RequestFrame::Build() {
  RequestFrame frame;
  frame.BuildHeader(kSize);
  frame.BuildGroup(32, 10, kLinkGroup);
  frame.SetPort(kRequestPort);
  frame.SetLinkCode(kLinkAsk);
  frame.BuildGroup(54, 32, kIdentificationGroup);
  frame.SetClientIdentification();
  frame.SetWord(74, 16);  // name length
  return frame;
}

void RequestFrame::ToNetworkOrder() {
  static constexpr uint8_t kWords[] = {4, 8, 12, 16, 20, 24, 36, 40, 46, 58, 62, 66, 70, 74};
  static constexpr uint8_t kHalfWords[] = {44};
  Swap(kWords, kHalfWords);
}

void RequestFrame::SetIdentification(uint32_t first, uint32_t second) {
  SetWord(66, first);
  SetWord(70, second);
}

void RequestFrame::SetName(std::string_view name) {
  uint8_t* field = bytes_.data() + 78;
  std::fill_n(field, 16, uint8_t{0});
  std::memcpy(field, name.data(), std::min<size_t>(name.size(), 16));
}

AcknowledgeFrame AcknowledgeFrame::Build() {
  AcknowledgeFrame frame;
  frame.BuildHeader(kFrameLength);
  frame.BuildGroup(32, 10, kLinkGroup);
  frame.SetLinkCode(RequestFrame::kLinkAsk);
  frame.BuildGroup(54, 12, kIdentificationGroup);
  return frame;
}

void AcknowledgeFrame::ToNetworkOrder() {
  static constexpr uint8_t kWords[] = {4, 8, 12, 16, 20, 24, 46, 66, 70};
  static constexpr uint8_t kHalfWords[] = {44};
  Swap(kWords, kHalfWords);
}

bool AcknowledgeFrame::Receive(std::span<const uint8_t> reply) {
  if (reply.size() < kFrameLength) return false;
  std::memcpy(bytes_.data(), reply.data(), std::min(reply.size(), kSize));
  ToNetworkOrder();
  return true;
}

template <size_t N>
void SetupFrame<N>::BuildSetup(uint32_t code, std::span<const uint32_t> values) {
  this->BuildHeader(N);
  this->BuildGroup(32, static_cast<uint32_t>(16 + 4 * values.size()), kSetupGroup);
  this->SetWord(44, code);
  this->SetWord(48, 1);
  this->SetWord(52, static_cast<uint32_t>(values.size()));
  for (size_t i = 0; i < values.size(); ++i) this->SetWord(56 + 4 * i, values[i]);
}

template <size_t N>
void SetupFrame<N>::ToNetworkOrder() {
  // The header's words, then every word of the group from its size to its
  // last value.
  constexpr size_t kGroupWords = (N - 12 - 36) / 4 + 1;
  std::array<uint8_t, 6 + kGroupWords> words{4, 8, 12, 16, 20, 24};
  for (size_t i = 0; i < kGroupWords; ++i) words[6 + i] = static_cast<uint8_t>(36 + 4 * i);
  this->Swap(words, {});
}

SetupFrame1 SetupFrame1::Build() {
  static constexpr uint32_t kValues[] = {1, 2, 11};
  SetupFrame1 frame;
  frame.BuildSetup(1, kValues);
  return frame;
}

SetupFrame2 SetupFrame2::Build() {
  static constexpr uint32_t kValues[] = {1, 2, 4, 7, 8, 9, 19};
  SetupFrame2 frame;
  frame.BuildSetup(6, kValues);
  return frame;
}

SetupFrame3 SetupFrame3::Build() {
  static constexpr uint32_t kValues[] = {1, 4};
  SetupFrame3 frame;
  frame.BuildSetup(5, kValues);
  return frame;
}

template class CommFrame<RequestFrame::kSize>;
template class CommFrame<AcknowledgeFrame::kSize>;
template class CommFrame<76>;
template class CommFrame<92>;
template class CommFrame<72>;
template class SetupFrame<76>;
template class SetupFrame<92>;
template class SetupFrame<72>;

}  // namespace elac
