#pragma once

#include <cstdint>

namespace ble {

/// A stream object that the library hands to a host. No property or method makes one yet; the
/// operations are what `CorvaneBLE_Stream` dispatches to, in the order of their numbers.
class Stream {
 public:
  virtual ~Stream() = default;
  virtual std::int32_t Read(std::intptr_t buffer, std::intptr_t size, void* result) = 0;
  virtual std::int32_t Write(std::intptr_t buffer, std::intptr_t size, void* result) = 0;
  virtual std::int32_t Seek(std::int64_t offset, std::intptr_t origin, void* result) = 0;
  virtual std::int32_t Flush() = 0;
  virtual void Close() = 0;
  virtual bool Can(std::intptr_t capability) = 0;
  virtual std::int64_t Length() = 0;
  virtual std::int32_t SetLength(std::int64_t length) = 0;
  virtual const char* ErrorText() = 0;
  virtual std::int32_t Error() = 0;
};

/// Runs the operation with a number from 500 to 509 on a stream, which may be null. Answers of the
/// queries go to `result`; a null `result` drops them.
std::int32_t DispatchStream(Stream* stream, std::int32_t operation, const std::intptr_t* args,
                            void* result);

}  // namespace ble
