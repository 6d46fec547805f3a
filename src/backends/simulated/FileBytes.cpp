#include "backends/simulated/FileBytes.h"

#include <cstdint>
#include <fstream>
#include <ios>
#include <system_error>

namespace ble::simulated {

FileBytes ReadFileBytes(const std::filesystem::path& file) {
  constexpr std::uintmax_t kMaxSize = std::uintmax_t{256} << 20;
  std::error_code error;
  const auto status = std::filesystem::status(file, error);
  if (status.type() == std::filesystem::file_type::not_found) return {{}, "no such file"};
  if (error) return {{}, error.message()};
  // A pipe or a device would make the caller wait or never end.
  if (!std::filesystem::is_regular_file(status)) return {{}, "not a regular file"};
  const std::uintmax_t size = std::filesystem::file_size(file, error);
  if (error) return {{}, error.message()};
  if (size > kMaxSize) return {{}, "the file is larger than 256 MiB"};
  std::ifstream stream(file, std::ios::binary);
  if (!stream) return {{}, "cannot be opened"};
  FileBytes content{Bytes(static_cast<std::size_t>(size)), {}};
  stream.read(reinterpret_cast<char*>(content.bytes.data()), static_cast<std::streamsize>(size));
  if (static_cast<std::uintmax_t>(stream.gcount()) != size) return {{}, "cannot be read"};
  return content;
}

}  // namespace ble::simulated
