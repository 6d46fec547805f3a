#include "Client.h"

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <new>
#include <utility>

namespace corvaneble::tool {
namespace {

/// A slow reader of our output must not make the queues grow without end. Of each kind, so that a
/// flood of one takes no room from the others.
constexpr std::size_t kMostOfAKind = 16384;

/// How long events are handed over before their owner looks at everything else.
constexpr std::chrono::milliseconds kSlice{20};

constexpr int kMaxParameters = 4;

std::intptr_t AsParameter(const std::string& text) {
  return reinterpret_cast<std::intptr_t>(text.c_str());
}
std::intptr_t AsParameter(const Bytes& bytes) {
  return reinterpret_cast<std::intptr_t>(bytes.data());
}

/// What may come faster than it can be shown, and means as much a moment later.
bool ComesInFloods(const Event& event) {
  return std::holds_alternative<Advertisement>(event) ||
         std::holds_alternative<ValueReceived>(event) || std::holds_alternative<LogLine>(event);
}

}  // namespace

Client::Client(Handler handler, int timeout, int logLevel) : handler_(std::move(handler)) {
  handle_.reset(CorvaneBLE_BLEClient_Create(&Client::OnEvent, this, nullptr, 0));
  if (!handle_) throw std::bad_alloc();
  Config("CodePage=65001");
  Config("LogLevel=" + std::to_string(std::max(logLevel, int{CORVANEBLE_LOG_INFO})));
  if (timeout >= 0) SetNumber(CORVANEBLE_PROPERTY_TIMEOUT, timeout);
}

std::string Client::Config(const std::string& text) {
  std::intptr_t params[] = {AsParameter(text), 0};
  std::int32_t lengths[] = {0, 0};
  Do(CORVANEBLE_METHOD_CONFIG, params, lengths, 2);
  // Not reinterpret_cast: GCC 12 then takes the text to be no longer than the array it came from.
  const char* answer = std::bit_cast<const char*>(params[1]);
  return answer ? answer : "";
}

void Client::StartScanning(const std::string& serviceUuids) {
  Do(CORVANEBLE_METHOD_START_SCANNING, {&serviceUuids});
}
void Client::StopScanning() {
  Do(CORVANEBLE_METHOD_STOP_SCANNING, {});
}
void Client::Connect(const std::string& address) {
  Do(CORVANEBLE_METHOD_CONNECT, {&address});
}
void Client::Disconnect() {
  Do(CORVANEBLE_METHOD_DISCONNECT, {});
}

void Client::DiscoverServices(const std::string& uuids, const std::string& includedBy) {
  Do(CORVANEBLE_METHOD_DISCOVER_SERVICES, {&uuids, &includedBy});
}
void Client::DiscoverCharacteristics(const std::string& service, const std::string& uuids) {
  Do(CORVANEBLE_METHOD_DISCOVER_CHARACTERISTICS, {&service, &uuids});
}
void Client::DiscoverDescriptors(const std::string& service, const std::string& characteristic) {
  Do(CORVANEBLE_METHOD_DISCOVER_DESCRIPTORS, {&service, &characteristic});
}

Bytes Client::Read(const AttributePath& path) {
  std::intptr_t params[] = {AsParameter(path.service), AsParameter(path.characteristic),
                            AsParameter(path.descriptor), 0};
  std::int32_t lengths[] = {0, 0, 0, 0};
  Do(CORVANEBLE_METHOD_READ_VALUE, params, lengths, 4);
  const auto* data = reinterpret_cast<const std::uint8_t*>(params[3]);
  return data ? Bytes(data, data + lengths[3]) : Bytes();
}

void Client::Write(const AttributePath& path, const Bytes& value) {
  std::intptr_t params[] = {AsParameter(path.service), AsParameter(path.characteristic),
                            AsParameter(path.descriptor), AsParameter(value)};
  std::int32_t lengths[] = {0, 0, 0, static_cast<std::int32_t>(value.size())};
  Do(CORVANEBLE_METHOD_WRITE_VALUE, params, lengths, 4);
}

void Client::Post(const AttributePath& path, const Bytes& value) {
  std::intptr_t params[] = {AsParameter(path.service), AsParameter(path.characteristic),
                            AsParameter(value)};
  std::int32_t lengths[] = {0, 0, static_cast<std::int32_t>(value.size())};
  Do(CORVANEBLE_METHOD_POST_VALUE, params, lengths, 3);
}

void Client::Subscribe(const AttributePath& path) {
  Do(CORVANEBLE_METHOD_SUBSCRIBE, {&path.service, &path.characteristic});
}
void Client::Unsubscribe(const AttributePath& path) {
  Do(CORVANEBLE_METHOD_UNSUBSCRIBE, {&path.service, &path.characteristic});
}

int Client::Number(int property, int index) {
  const auto value = CorvaneBLE_BLEClient_Get(handle_.get(), property, index, nullptr, nullptr);
  Check(CorvaneBLE_BLEClient_GetLastErrorCode(handle_.get()));
  return static_cast<int>(value);
}

std::string Client::Text(int property, int index) {
  const auto value = CorvaneBLE_BLEClient_Get(handle_.get(), property, index, nullptr, nullptr);
  Check(CorvaneBLE_BLEClient_GetLastErrorCode(handle_.get()));
  const char* text = reinterpret_cast<const char*>(value);
  return text ? text : "";
}

void Client::SetNumber(int property, int value, int index) {
  Check(CorvaneBLE_BLEClient_Set(handle_.get(), property, index, value, 0));
}

void Client::SetText(int property, const std::string& value, int index) {
  Check(CorvaneBLE_BLEClient_Set(handle_.get(), property, index, AsParameter(value), 0));
}

void Client::Step() {
  using namespace std::chrono;
  if (!HandOver(kSlice)) return;  // what is late comes first
  const auto begin = steady_clock::now();
  Do(CORVANEBLE_METHOD_DO_EVENTS, {});
  // A step that found nothing to do and did not wait must not turn our loop into a busy one.
  if (steady_clock::now() - begin < milliseconds(1)) {
    std::unique_lock lock(mutex_);
    arrived_.wait_for(lock, milliseconds(1), [this] { return !first_.empty() || !then_.empty(); });
  }
  HandOver(kSlice);
}

void Client::DropRest() {
  if (HandOver(kSlice)) return;
  std::deque<Event> rest;  // dies after the lock
  const std::lock_guard lock(mutex_);
  rest.swap(then_);
  for (Event& event : rest) {
    if (std::holds_alternative<LogLine>(event)) {
      then_.push_back(std::move(event));
    } else {
      --waiting_[event.index()];
      ++dropped_[event.index()];
    }
  }
}

std::int32_t CORVANEBLE_CALL Client::OnEvent(void* self, std::int32_t eventId,
                                             std::int32_t paramCount, const std::intptr_t* params,
                                             const std::int32_t* lengths) noexcept {
  auto& client = *static_cast<Client*>(self);
  try {
    auto event = DecodeEvent(eventId, paramCount, params, lengths);
    if (!event) return 0;
    client.Enqueue(std::move(*event));
    // Inside one of our own calls the owner need not wait for it to end: progress shows at once.
    if (std::this_thread::get_id() == client.owner_) client.HandOver({});
    return 0;
  } catch (...) {
    return CORVANEBLE_ERROR_OUT_OF_MEMORY;
  }
}

void Client::Do(int method, std::intptr_t* params, std::int32_t* lengths, int count) {
  const int code = CorvaneBLE_BLEClient_Do(handle_.get(), method, count, params, lengths, nullptr);
  HandOver(kSlice);
  Check(code);
}

void Client::Do(int method, std::initializer_list<const std::string*> texts) {
  std::array<std::intptr_t, kMaxParameters> params{};
  std::array<std::int32_t, kMaxParameters> lengths{};
  int count = 0;
  for (const std::string* text : texts)
    params[static_cast<std::size_t>(count++)] = AsParameter(*text);
  Do(method, params.data(), lengths.data(), count);
}

void Client::Check(int code) {
  if (code == 0) return;
  const char* text = CorvaneBLE_BLEClient_GetLastError(handle_.get());
  throw ClientError(code, text ? text : "");
}

void Client::Enqueue(Event event) {
  {
    const std::lock_guard lock(mutex_);
    if (waiting_[event.index()] >= kMostOfAKind) {
      ++dropped_[event.index()];
      return;
    }
    ++waiting_[event.index()];
    (ComesInFloods(event) ? then_ : first_).push_back(std::move(event));
  }
  arrived_.notify_one();
}

bool Client::HandOver(std::chrono::milliseconds slice) {
  if (handingOver_) return false;  // an event raised by a call of the handler: its turn comes
  handingOver_ = true;
  struct Done {
    bool& flag;
    ~Done() { flag = false; }
  } done{handingOver_};
  const auto end = std::chrono::steady_clock::now() + slice;
  std::size_t least = 1;
  {
    const std::lock_guard lock(mutex_);
    least += first_.size();
  }
  for (std::size_t i = 0; i < least || std::chrono::steady_clock::now() < end; ++i) {
    const auto event = TakeNext();
    if (!event) return true;
    if (handler_) handler_(*event);
  }
  return false;
}

std::optional<Event> Client::TakeNext() {
  const std::lock_guard lock(mutex_);
  std::deque<Event>& queue = first_.empty() ? then_ : first_;
  if (queue.empty()) return std::nullopt;
  std::optional<Event> event(std::move(queue.front()));
  queue.pop_front();
  --waiting_[event->index()];
  return event;
}

}  // namespace corvaneble::tool
