// Arbitrary bytes as a server's reply to the request: taken as an
// acknowledge when long enough, then converted back and forth.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>

#include "interpreters/surveyreaderlib/elacreader/elacmessages.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static elac::AcknowledgeFrame acknowledge = elac::AcknowledgeFrame::Build();
  static elac::AcknowledgeFrame copy;
  if (!acknowledge.Receive(std::span<const uint8_t>(data, size))) return 0;
  copy = acknowledge;
  acknowledge.ToNetworkOrder();
  acknowledge.ToNetworkOrder();
  if (std::memcmp(copy.Bytes().data(), acknowledge.Bytes().data(), copy.kSize) != 0) std::abort();
  if (static_cast<uint16_t>(acknowledge.SignedDataPort()) != acknowledge.DataPort()) std::abort();
  return 0;
}
