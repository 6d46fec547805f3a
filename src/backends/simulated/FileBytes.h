#pragma once

#include <filesystem>
#include <string>

#include "base/Bytes.h"

namespace ble::simulated {

/// The bytes of a whole file, or why it could not be read.
struct FileBytes {
  Bytes bytes;
  std::string error;
};

/// Reads a regular file of at most 256 MiB; never throws on account of the file.
[[nodiscard]] FileBytes ReadFileBytes(const std::filesystem::path& file);

}  // namespace ble::simulated
