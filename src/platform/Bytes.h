#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace corvaneble::platform {

/// Owned bytes: attribute values, advertisement payloads.
using Bytes = std::vector<std::uint8_t>;

/// Borrowed bytes; never outlives the call it is passed to unless a comment says so.
using ByteView = std::span<const std::uint8_t>;

}  // namespace corvaneble::platform
