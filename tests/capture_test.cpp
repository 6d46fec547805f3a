#include "backends/simulated/Capture.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <regex>
#include <sstream>
#include <string>

#include "hci/AdvertisingReports.h"

namespace ble::simulated {
namespace {

using Type = BluetoothLEAdvertisementType;

void AppendBig(Bytes& bytes, std::uint64_t value, int size) {
  for (int i = size; i-- > 0;)
    bytes.push_back(static_cast<std::uint8_t>(value >> 8 * i));
}

void Append(Bytes& bytes, const Bytes& more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

/// A btsnoop file in memory.
class File {
 public:
  explicit File(std::uint32_t linkType) {
    Append(bytes, {'b', 't', 's', 'n', 'o', 'o', 'p', 0, 0, 0, 0, 1});
    AppendBig(bytes, linkType, 4);
  }

  File& Record(std::uint32_t flags, const Bytes& packet, std::uint64_t timestamp = 0) {
    AppendBig(bytes, packet.size(), 4);
    AppendBig(bytes, packet.size(), 4);
    AppendBig(bytes, flags, 4);
    AppendBig(bytes, 0, 4);
    AppendBig(bytes, timestamp, 8);
    Append(bytes, packet);
    return *this;
  }

  Bytes bytes;
};

constexpr std::uint32_t kMonitorEvent = 3;

Bytes LeEvent(Bytes parameters) {
  Bytes event{0x3E, static_cast<std::uint8_t>(parameters.size())};
  Append(event, parameters);
  return event;
}

Bytes Legacy(std::uint8_t type, const Bytes& data) {
  Bytes report{0x02, 1, type, 1, 6, 5, 4, 3, 2, 0xC1, static_cast<std::uint8_t>(data.size())};
  Append(report, data);
  report.push_back(0xC4);  // -60 dBm
  return LeEvent(report);
}

Bytes Extended(std::uint16_t type, const Bytes& data, std::uint8_t set = 0) {
  Bytes report{0x0D,
               1,
               static_cast<std::uint8_t>(type),
               static_cast<std::uint8_t>(type >> 8),
               0,
               6,
               5,
               4,
               3,
               2,
               0xC1,
               1,
               0,
               set,
               127,
               0xC4,
               0,
               0,
               0,
               0,
               0,
               0,
               0,
               0,
               0,
               static_cast<std::uint8_t>(data.size())};
  Append(report, data);
  return LeEvent(report);
}

TEST(Capture, ReadsAllThreeLinkTypes) {
  const Bytes event = Legacy(0, {2, 1, 6});
  Bytes h4{0x04};
  Append(h4, event);
  const File files[] = {File(1001).Record(2, {1, 2, 3}).Record(3, event, 10).Record(3, event, 35),
                        File(1002).Record(2, {1, 3, 12, 0}).Record(3, h4, 10).Record(3, h4, 35),
                        File(2001).Record(2, {3, 12, 0}).Record(3, event, 10).Record(3, event, 35)};
  for (const File& file : files) {
    const CaptureResult result = ParseCapture(file.bytes);
    ASSERT_FALSE(result.error) << result.error->text;
    ASSERT_EQ(result.reports.size(), 2U);
    const CapturedReport expected{std::chrono::microseconds(0),
                                  0xC10203040506,
                                  true,
                                  Type::ConnectableUndirected,
                                  -60,
                                  {2, 1, 6}};
    EXPECT_EQ(result.reports[0], expected);
    EXPECT_EQ(result.reports[1].at, std::chrono::microseconds(25));
  }
}

TEST(Capture, KnowsEveryKindOfReport) {
  File file(2001);
  for (std::uint8_t type = 0; type <= 4; ++type)
    file.Record(kMonitorEvent, Legacy(type, {}));
  for (const std::uint16_t type :
       {0x13, 0x15, 0x12, 0x10, 0x1B, 0x1A, 0x01, 0x05, 0x02, 0x00, 0x0A})
    file.Record(kMonitorEvent, Extended(type, {}));
  const int expected[] = {0, 1, 2, 3, 4, 0, 1, 2, 3, 4, 4, 0, 1, 2, 3, 4};
  const CaptureResult result = ParseCapture(file.bytes);
  ASSERT_EQ(result.reports.size(), std::size(expected));
  for (std::size_t i = 0; i < std::size(expected); ++i)
    EXPECT_EQ(static_cast<int>(result.reports[i].type), expected[i]) << i;
}

TEST(Capture, JoinsFragmentsOfTheSameSet) {
  File file(2001);
  file.Record(kMonitorEvent, Extended(0x21, {1, 2}, 7))  // more to come
      .Record(kMonitorEvent, Extended(0x21, {8}, 9))
      .Record(kMonitorEvent, Extended(0x01, {3}, 7))
      .Record(kMonitorEvent, Extended(0x41, {9}, 9))   // truncated
      .Record(kMonitorEvent, Extended(0x21, {4}, 7));  // its end never comes
  const CaptureResult result = ParseCapture(file.bytes);
  ASSERT_EQ(result.reports.size(), 2U);
  EXPECT_EQ(result.reports[0].payload, (Bytes{1, 2, 3}));
  EXPECT_EQ(result.reports[1].payload, (Bytes{8, 9}));
}

TEST(AdvertisingReports, ALastFragmentThatIsLostSilencesNobody) {
  hci::AdvertisingReports reports;
  int completed = 0;
  int refused = 0;
  const auto take = [&](const Bytes& event) {
    const auto sink = [&](const hci::AdvertisingReport&) { ++completed; };
    if (reports.TakeEvent(ByteReader(event, 0), sink)) ++refused;
  };
  for (int i = 0; i < 10; ++i)  // the ninth exceeds the limit
    take(Extended(0x21, Bytes(200)));
  take(Extended(0x01, {1}));  // the end of a packet without its beginning
  EXPECT_EQ(completed, 0);
  take(Extended(0x01, {1}));
  EXPECT_EQ(completed, 1);
  EXPECT_EQ(refused, 1);
}

TEST(Capture, MalformedAnywhereRejectsTheWhole) {
  const Bytes good = Legacy(0, {2, 1, 6});
  const File file = File(2001).Record(3, good).Record(3, Extended(0x13, {2, 1, 6}));
  const std::size_t firstEnd = 16 + 24 + good.size();
  for (std::size_t size = 0; size < file.bytes.size(); ++size) {
    const CaptureResult result = ParseCapture(ByteView(file.bytes).first(size));
    if (size == 16 || size == firstEnd) {
      EXPECT_FALSE(result.error) << size;  // a shorter recording
    } else {
      ASSERT_TRUE(result.error) << size;
      EXPECT_LE(result.error->offset, size);
      EXPECT_TRUE(result.reports.empty());
    }
  }
  const auto offsetOf = [&](const File& bad) {
    const CaptureResult result = ParseCapture(bad.bytes);
    return result.error && result.reports.empty() ? static_cast<long>(result.error->offset) : -1;
  };
  const auto withReport = [&](Bytes event) { return File(2001).Record(3, good).Record(3, event); };
  EXPECT_EQ(offsetOf(File(1003)), 12);
  EXPECT_GT(offsetOf(withReport(Legacy(5, {}))), 0);
  EXPECT_GT(offsetOf(withReport(Extended(0x11, {}))), 0);
  EXPECT_GT(offsetOf(withReport(Extended(0x61, {}))), 0);
  EXPECT_GT(offsetOf(withReport(LeEvent({0x02, 0}))), 0);
  EXPECT_GT(offsetOf(withReport({0x0E, 4, 1})), 0);
  EXPECT_GT(offsetOf(File(2001).Record(3, good, 1).Record(3, good, ~std::uint64_t{0} >> 1)), 0);
  File trailing = withReport(Legacy(0, Bytes(3)));
  trailing.bytes[firstEnd + 24 + 12] = 2;  // the last report now ends before the event does
  EXPECT_GT(offsetOf(trailing), static_cast<long>(firstEnd));
  File longer = File(2001).Record(3, good);
  longer.bytes[20] = 0xFF;  // a record of 4 GB
  EXPECT_EQ(offsetOf(longer), 20);
}

/// The output of btmon for the same file, in the format of `Describe`.
std::string ReadWithBtmon(const std::string& file) {
  std::string output;
  std::FILE* const pipe = popen(("btmon -r '" + file + "' 2>/dev/null").c_str(), "r");
  if (pipe == nullptr) return output;
  for (std::array<char, 4096> block{}; const auto count = std::fread(block.data(), 1, 4096, pipe);)
    output.append(block.data(), count);
  return pclose(pipe) == 0 ? output : std::string();
}

TEST(Capture, AgreesWithBtmonOnARealRecording) {
  const std::string file = CORVANEBLE_SHARED_DIR "/captures/real-life-scan.btsnoop";
  if (!std::filesystem::exists(file)) GTEST_SKIP() << "no recording to compare with";
  const std::string output = ReadWithBtmon(file);
  if (output.empty()) GTEST_SKIP() << "btmon is not installed";

  const std::regex field(
      "^ +(LE Extended Advertising Report|Legacy PDU Type: (\\S+)|Address type: (\\w+)|Address: "
      "([0-9A-F:]{17})|RSSI: (-?\\d+) dBm|((?:[0-9a-f]{2} )+) *\\S.*)");
  std::string expected;
  std::istringstream lines(output);
  bool inReport = false;
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with(' ')) inReport = false;
    std::smatch match;
    if (!std::regex_search(line, match, field)) continue;
    if (match[1] == "LE Extended Advertising Report") {
      inReport = true;
      expected += '\n';
    } else if (inReport) {
      for (std::size_t i = 2; i < match.size(); ++i)
        if (match[i].matched)
          expected += std::regex_replace(match[i].str(), std::regex(" "), "") + (i < 6 ? " " : "");
    }
  }

  std::string actual;
  const CaptureResult result = LoadCapture(file);
  EXPECT_EQ(result.reports.size(), 38U);
  for (const CapturedReport& report : result.reports) {
    constexpr const char* kTypes[] = {"ADV_IND", "ADV_DIRECT_IND", "ADV_SCAN_IND",
                                      "ADV_NONCONN_IND", "SCAN_RSP"};
    actual += '\n' + std::string(kTypes[static_cast<int>(report.type)]) +
              (report.randomAddress ? " Random" : " Public");
    for (int byte = 5; byte >= 0; --byte) {
      std::array<char, 4> text{};
      std::snprintf(text.data(), text.size(), "%c%02X", byte == 5 ? ' ' : ':',
                    static_cast<unsigned>(report.address >> 8 * byte & 0xFF));
      actual += text.data();
    }
    actual += " " + std::to_string(report.rssi) + " ";
    for (const unsigned byte : report.payload) {
      std::array<char, 3> text{};
      std::snprintf(text.data(), text.size(), "%02x", byte);
      actual += text.data();
    }
  }
  EXPECT_EQ(actual, expected);
}

}  // namespace
}  // namespace ble::simulated
