#pragma once

#include <sys/socket.h>

#include <cstdint>

/// The kernel's interface to Bluetooth sockets, as far as the radio uses it. The layouts and
/// numbers are the kernel's ABI.
namespace ble::linux_radio::kernel {

inline constexpr int kAfBluetooth = 31;
inline constexpr int kProtocolL2cap = 0;
inline constexpr int kProtocolHci = 1;

inline constexpr int kSolHci = 0;
inline constexpr int kSolBluetooth = 274;

inline constexpr std::uint8_t kLePublic = 1;
inline constexpr std::uint8_t kLeRandom = 2;

/// The fixed channel of the Attribute Protocol (Bluetooth Core 5.4, Vol 3 Part A, 2.1).
inline constexpr std::uint16_t kAttChannel = 4;

struct L2capAddress {
  std::uint16_t family = kAfBluetooth;
  std::uint16_t psm = 0;  // little-endian
  std::uint8_t address[6]{};
  std::uint16_t channel = 0;  // little-endian
  std::uint8_t addressType = 0;
};
static_assert(sizeof(L2capAddress) == 14);

inline constexpr int kSecurityOption = 4;
inline constexpr std::uint8_t kSecurityLow = 1;
inline constexpr std::uint8_t kSecurityMedium = 2;

struct Security {
  std::uint8_t level = kSecurityLow;
  std::uint8_t keySize = 0;
};
static_assert(sizeof(Security) == 2);

struct HciAddress {
  std::uint16_t family = kAfBluetooth;
  std::uint16_t device = 0;
  std::uint16_t channel = 0;  // 0: raw
};
static_assert(sizeof(HciAddress) == 6);

inline constexpr int kHciFilterOption = 2;

struct HciFilter {
  std::uint32_t packetTypes = 0;
  std::uint32_t events[2]{};
  std::uint16_t opcode = 0;
};
static_assert(sizeof(HciFilter) == 16);

/// The kernel drops what does not fit while the radio's thread is held up by a host, and what fits
/// by default is some ninety packets. It takes as much of this as it allows.
inline void EnlargeReceiveBuffer(int socket) {
  constexpr int kBytes = 1 << 20;
  setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &kBytes, sizeof kBytes);
}

}  // namespace ble::linux_radio::kernel
