#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "att/AttLink.h"
#include "att/AttributeTable.h"
#include "att/GattSearch.h"
#include "att/ValueWrite.h"
#include "base/Executor.h"

namespace ble::att {

/// What the owner of a GATT client is told, on the channel's thread. Each may be empty. None is
/// begun once the client is closed, but one that runs already is not waited for: capture weakly.
struct GattClientEvents {
  std::function<void(bool open)> linkChanged;
  /// The handles concerned, as text: "0x0010-0x0020".
  std::function<void(const std::u16string& range)> servicesChanged;
  /// A text for the user.
  std::function<void(const std::string& text)> notice;
};

/// What a client and all of its GATT objects share: the link, the objects in use, the queue of long
/// writes, and the watch over the server's Service Changed characteristic.
class GattContext final : public AttLink::Observer,
                          public std::enable_shared_from_this<GattContext> {
 public:
  static std::shared_ptr<GattContext> Create(std::shared_ptr<AttConnector> connector,
                                             std::shared_ptr<Executor> executor,
                                             GattClientEvents events);

  AttLink& Link() { return *link_; }
  AttributeTable& Attributes() { return attributes_; }
  const std::shared_ptr<LongWriteQueue>& LongWrites() { return longWrites_; }

  /// Differs whenever the server's handles may have come to mean other attributes: after a services
  /// change, and on each new link.
  std::uint16_t DatabaseVersion() const { return databaseVersion_; }

  /// Asks the server for Service Changed indications (Bluetooth Core 5.4, Vol 3 Part G, 7.1), once
  /// per link, when it has a Generic Attribute service. Failure has no consequences.
  void WatchServiceChanged(const BearerPtr& bearer, const std::vector<ServiceRecord>& services);

  /// Tells the user something.
  void Notify(const std::string& text) const {
    if (!closed_ && events_.notice) events_.notice(text);
  }

  void Close();

  void OnLinkOpened() override;
  void OnLinkClosed() override;
  void OnValue(std::uint16_t valueHandle, ByteView value) override;

 private:
  explicit GattContext(GattClientEvents events) : events_(std::move(events)) {}

  void FindServiceChangedConfiguration(const BearerPtr& bearer,
                                       const CharacteristicRecord& serviceChanged);
  void ReportServiceChanged(ByteView value);

  const GattClientEvents events_;
  const std::shared_ptr<LongWriteQueue> longWrites_ = std::make_shared<LongWriteQueue>();
  std::shared_ptr<AttLink> link_;  // set once, by Create
  AttributeTable attributes_;
  std::atomic<std::uint16_t> databaseVersion_{0};
  std::atomic<bool> closed_{false};
  std::atomic<bool> watching_{false};                   // asked for on this link
  std::atomic<std::uint16_t> serviceChangedHandle_{0};  // of the value; 0: not known
};

}  // namespace ble::att
