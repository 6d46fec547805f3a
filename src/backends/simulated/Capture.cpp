#include "backends/simulated/Capture.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "backends/simulated/FileBytes.h"
#include "hci/AdvertisingReports.h"

namespace ble::simulated {
namespace {

using std::chrono::microseconds;

enum class LinkType : std::uint32_t { UnencapsulatedHci = 1001, HciH4 = 1002, Monitor = 2001 };

constexpr std::string_view kMagic{"btsnoop\0", 8};
constexpr std::uint32_t kVersion = 1;

// Record flags of unencapsulated HCI: a command or event (not data), received by the host.
constexpr std::uint32_t kReceivedEvent = 0x3;
constexpr std::uint8_t kH4Event = 0x04;
// The monitor format has the kind of packet in the low half of the flags, the adapter in the high.
constexpr std::uint32_t kMonitorOpcodeMask = 0xFFFF;
constexpr std::uint32_t kMonitorEvent = 3;

struct Record {
  std::uint32_t flags = 0;
  std::uint64_t timestamp = 0;  ///< microseconds since a date long ago
  ByteReader packet{{}, 0};
};

std::optional<CaptureError> ReadHeader(ByteReader& reader, LinkType& linkType) {
  const ByteView magic = reader.Take(kMagic.size());
  if (!std::equal(magic.begin(), magic.end(), kMagic.begin(), kMagic.end()))
    return CaptureError{0, "not a btsnoop file"};
  const std::size_t versionAt = reader.Offset();
  const auto version = reader.Big(4);
  const std::size_t linkTypeAt = reader.Offset();
  linkType = static_cast<LinkType>(reader.Big(4));
  if (!reader.Ok()) return CaptureError{reader.Offset(), "the file header is cut short"};
  if (version != kVersion) return CaptureError{versionAt, "a btsnoop version other than 1"};
  if (linkType != LinkType::UnencapsulatedHci && linkType != LinkType::HciH4 &&
      linkType != LinkType::Monitor)
    return CaptureError{linkTypeAt, "packets that are not HCI packets"};
  return std::nullopt;
}

std::optional<CaptureError> ReadRecord(ByteReader& reader, Record& record) {
  const auto originalLength = static_cast<std::uint32_t>(reader.Big(4));
  const std::size_t lengthAt = reader.Offset();
  const auto includedLength = static_cast<std::uint32_t>(reader.Big(4));
  record.flags = static_cast<std::uint32_t>(reader.Big(4));
  (void)reader.Take(4);  // how many packets the recorder had lost
  record.timestamp = reader.Big(8);
  if (!reader.Ok()) return CaptureError{reader.Offset(), "a record header is cut short"};
  if (includedLength > originalLength)
    return CaptureError{lengthAt, "a record longer than its packet"};
  const std::size_t packetAt = reader.Offset();
  record.packet = ByteReader(reader.Take(includedLength), packetAt);
  if (!reader.Ok()) return CaptureError{reader.Offset(), "a record is cut short"};
  return std::nullopt;
}

/// Whether the record holds an HCI event; leaves the packet at the event code then.
bool HoldsEvent(LinkType linkType, Record& record) {
  switch (linkType) {
    case LinkType::UnencapsulatedHci:
      return (record.flags & kReceivedEvent) == kReceivedEvent;
    case LinkType::HciH4:
      return record.packet.Remaining() > 0 && record.packet.U8() == kH4Event;
    case LinkType::Monitor:
      return (record.flags & kMonitorOpcodeMask) == kMonitorEvent;
  }
  return false;
}

/// Time as it passes in a capture. It never runs backwards, even where the recording computer's
/// clock was set.
class CaptureTime {
 public:
  std::optional<microseconds> Advance(std::uint64_t timestamp) {
    constexpr std::uint64_t kLongest = 1'000'000'000'000'000;  // some 31 years
    const auto time = static_cast<std::int64_t>(timestamp);
    if (!started_ || time > latest_) latest_ = time;
    if (!std::exchange(started_, true)) first_ = time;
    const std::uint64_t passed =
        static_cast<std::uint64_t>(latest_) - static_cast<std::uint64_t>(first_);
    if (passed > kLongest) return std::nullopt;
    return microseconds(static_cast<std::int64_t>(passed));
  }

 private:
  bool started_ = false;
  std::int64_t first_ = 0;
  std::int64_t latest_ = 0;
};

CaptureResult Refused(CaptureError error) {
  return {{}, std::move(error)};
}

}  // namespace

CaptureResult ParseCapture(ByteView file) {
  ByteReader reader(file, 0);
  LinkType linkType{};
  if (auto error = ReadHeader(reader, linkType)) return Refused(*error);
  hci::AdvertisingReports events;
  CaptureResult result;
  CaptureTime time;
  while (reader.Remaining() > 0) {
    Record record;
    const std::size_t recordAt = reader.Offset();
    if (auto error = ReadRecord(reader, record)) return Refused(*error);
    if (!HoldsEvent(linkType, record)) continue;
    const auto at = time.Advance(record.timestamp);
    if (!at) return Refused({recordAt, "a time decades after the first record"});
    const auto collect = [&](const hci::AdvertisingReport& report) {
      result.reports.push_back({*at, report.address, report.randomAddress, report.type, report.rssi,
                                Bytes(report.payload.begin(), report.payload.end())});
    };
    if (const auto wrong = events.TakeEvent(record.packet, collect))
      return Refused({wrong->offset, wrong->text});
  }
  if (!result.reports.empty()) {
    const microseconds start = result.reports.front().at;
    for (CapturedReport& report : result.reports)
      report.at -= start;
  }
  return result;
}

CaptureResult LoadCapture(const std::filesystem::path& file) {
  const FileBytes content = ReadFileBytes(file);
  if (!content.error.empty()) return Refused({0, content.error});
  return ParseCapture(content.bytes);
}

}  // namespace ble::simulated
