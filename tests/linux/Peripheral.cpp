#include "linux/Peripheral.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include "backends/linux/LinuxRadio.h"
#include "support/Backend.h"

namespace ble::tests {

void Tell(const std::string& command) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strcpy(address.sun_path, "/run/peripheral.sock");
  const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  std::string reply(256, '\0');
  if (connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
    (void)!write(connection, (command + "\n").data(), command.size() + 1);
    reply.resize(
        static_cast<std::size_t>(std::max<ssize_t>(0, read(connection, reply.data(), 256))));
  }
  close(connection);
  if (reply != "ok\n") throw std::runtime_error("peripheral: " + command + ": " + reply);
}

void Shell(const std::string& command) {
  if (std::system(command.c_str()) != 0) throw std::runtime_error(command + " failed");
}

void WaitUntilNoLink() {
  constexpr std::chrono::seconds kLinger{10};
  const auto isLink = [](const auto& entry) {
    return entry.path().filename().string().find(':') != std::string::npos;
  };
  const auto begin = std::chrono::steady_clock::now();
  for (auto patience = kLinger;; std::this_thread::sleep_for(std::chrono::milliseconds(50))) {
    const std::filesystem::directory_iterator entries("/sys/class/bluetooth");
    if (std::none_of(std::filesystem::begin(entries), std::filesystem::end(entries), isLink))
      return;
    const auto waited = std::chrono::steady_clock::now() - begin;
    if (waited > kLongTime) throw std::runtime_error("a link does not end");
    if (waited < patience) continue;
    patience += kLinger;
    try {
      Tell("drop");  // BlueZ keeps a link that its user closes before it is established
    } catch (const std::runtime_error&) {
      // The link has ended meanwhile, or the next iteration drops it.
    }
  }
}

OpenedRadio OpenLinux() {
  WaitUntilNoLink();  // BlueZ's server ignores a link that opens while another ends
  Tell("reset");
  return linux_radio::OpenLinuxRadio("hci0", linux_radio::Absence::Fails);
}

std::vector<Backend> Backends() {
  Backend backend{"linux",
                  &OpenLinux,
                  kPeripheralAddress,
                  {0x5C0A180A, 0x7D2E, 0x4B1F, {0x9A, 0x63, 0x1E, 0x5F, 0x2C, 0x8D, 0x7B, 0x40}}};
  backend.longestWrite = 508;  // BlueZ's server counts the last part with its header, to 512
  backend.beHeard = [] { Tell("advertise"); };
  backend.responses = geteuid() == 0 ? 8 : 0;  // only the controller reports them
  return {backend};
}

}  // namespace ble::tests
