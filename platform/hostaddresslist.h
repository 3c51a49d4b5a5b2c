// The walk over a name look-up's result list that every system's
// ResolveHost shares: the lists have the same shape everywhere, only their
// declarations come from different system headers, which the caller has
// included and names here.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <string>

#include "platform/tcpsocket.h"

namespace platform {

// Adds each address of `list` to `found`, each family apart, in the
// system's order. False, with "no address" in `error`, when it held none of
// either family.
template <typename Ipv4Address, typename Ipv6Address, typename AddressInfo>
bool CollectHostAddresses(const AddressInfo* list, int ipv4Family, int ipv6Family,
                          HostAddresses& found, std::string& error) {
  for (const AddressInfo* entry = list; entry != nullptr; entry = entry->ai_next) {
    if (entry->ai_family == ipv4Family) {
      std::array<uint8_t, 4> octets{};
      const auto* address = reinterpret_cast<const Ipv4Address*>(entry->ai_addr);
      std::memcpy(octets.data(), &address->sin_addr, octets.size());
      found.ipv4.push_back(octets);
    } else if (entry->ai_family == ipv6Family) {
      std::array<uint8_t, 16> bytes{};
      const auto* address = reinterpret_cast<const Ipv6Address*>(entry->ai_addr);
      std::memcpy(bytes.data(), &address->sin6_addr, bytes.size());
      found.ipv6.push_back(bytes);
    }
  }
  if (found.ipv4.empty() && found.ipv6.empty()) error = "no address";
  return error.empty();
}

}  // namespace platform
