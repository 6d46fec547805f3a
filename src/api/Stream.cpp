#include "api/Stream.h"

#include "corvaneble/corvaneble.h"

namespace ble {
namespace {

constexpr const char* kNoStream = "Invalid stream pointer.";

template <class T>
std::int32_t Store(void* result, T value) {
  if (result != nullptr) *static_cast<T*>(result) = value;
  return 0;
}

std::int32_t DispatchNull(std::int32_t operation, void* result) {
  switch (operation) {
    case CORVANEBLE_STREAM_CLOSE:
      return 0;
    case CORVANEBLE_STREAM_QUERY:
      return Store(result, std::uint8_t{0});
    case CORVANEBLE_STREAM_ERROR:
      return Store(result, kNoStream);
    case CORVANEBLE_STREAM_ERROR_CODE:
      return Store(result, std::int32_t{-1});
    default:
      return -1;
  }
}

}  // namespace

std::int32_t DispatchStream(Stream* stream, std::int32_t operation, const std::intptr_t* args,
                            void* result) {
  if (stream == nullptr) return DispatchNull(operation, result);
  const auto offset = [&] { return *reinterpret_cast<const std::int64_t*>(args[0]); };
  switch (operation) {
    case CORVANEBLE_STREAM_READ:
      return stream->Read(args[0], args[1], result);
    case CORVANEBLE_STREAM_WRITE:
      return stream->Write(args[0], args[1], result);
    case CORVANEBLE_STREAM_SEEK:
      return stream->Seek(offset(), args[1], result);
    case CORVANEBLE_STREAM_FLUSH:
      return stream->Flush();
    case CORVANEBLE_STREAM_CLOSE:
      stream->Close();
      delete stream;
      return 0;
    case CORVANEBLE_STREAM_QUERY:
      return Store(result, static_cast<std::uint8_t>(stream->Can(args[0]) ? 1 : 0));
    case CORVANEBLE_STREAM_GET_LENGTH:
      return Store(result, stream->Length());
    case CORVANEBLE_STREAM_SET_LENGTH:
      return stream->SetLength(offset());
    case CORVANEBLE_STREAM_ERROR:
      return Store(result, stream->ErrorText());
    case CORVANEBLE_STREAM_ERROR_CODE:
      return Store(result, stream->Error());
    default:
      return 0;
  }
}

}  // namespace ble
