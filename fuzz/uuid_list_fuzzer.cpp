#include <algorithm>

#include "frame/ErrorState.h"
#include "fuzz/Input.h"
#include "gatt/UuidText.h"

// Lists of UUIDs as hosts write them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace ble;
  const std::string_view text(reinterpret_cast<const char*>(data), size);

  std::vector<Uuid> uuids;
  ErrorState errors;
  const ErrorCode code = ParseUuidList(text, uuids, errors);
  fuzz::Require(code == error::kSuccess || code == error::kMalformedUuid);
  fuzz::Require(code == error::kSuccess || !errors.LastText().empty());
  for (auto uuid = uuids.begin(); uuid != uuids.end(); ++uuid)
    fuzz::Require(std::find(uuids.begin(), uuid, *uuid) == uuid);

  // What is handed out is understood again, and means the same.
  std::string joined;
  JoinUuids(uuids, joined);
  std::vector<Uuid> again;
  fuzz::Require(ParseUuidList(joined, again, errors) == error::kSuccess);
  fuzz::Require(again == uuids);
  return 0;
}
