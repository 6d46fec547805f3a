#include <algorithm>

#include "fuzz/Input.h"
#include "gatt/UuidText.h"

// Fuzzes lists of UUIDs.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace ble;
  const std::string_view text(reinterpret_cast<const char*>(data), size);

  const auto [status, uuids] = ParseUuidList(text);
  fuzz::Require(status.Ok() || status.Code() == error::kMalformedUuid);
  fuzz::Require(status.Ok() || (uuids.empty() && !status.Text().empty()));
  for (auto uuid = uuids.begin(); uuid != uuids.end(); ++uuid)
    fuzz::Require(std::find(uuids.begin(), uuid, *uuid) == uuid);

  // The canonical text parses to the same UUIDs.
  std::string joined;
  JoinUuids(uuids, joined);
  const auto [failed, again] = ParseUuidList(joined);
  fuzz::Require(failed.Ok() && again == uuids);
  return 0;
}
