#pragma once

#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "att/AttLink.h"
#include "att/AttStatus.h"
#include "att/GattSearch.h"
#include "base/Mutex.h"

/// What the operations of all GATT objects have in common.
namespace ble::att {

template <class Result>
using OperationPtr = std::shared_ptr<CompletableOperation<Result>>;

/// Starts an operation that needs the link: `body(bearer, operation)` completes it. Without a
/// link it is completed here.
template <class Result, class Body>
AsyncOperationPtr<Result> OverLink(AttLink& link, Body body) {
  auto operation = std::make_shared<CompletableOperation<Result>>();
  link.WithBearer([operation, body = std::move(body)](const BearerPtr& bearer, ChannelError error) {
    if (!bearer) return Complete(*operation, StatusOf(error));
    body(bearer, operation);
  });
  return operation;
}

/// What was last read, received or found: bytes or records.
template <class T>
class LastKnown {
 public:
  void Store(std::span<const T> items) {
    const MutexLock lock(mutex_);
    items_.assign(items.begin(), items.end());
  }
  std::vector<T> Get() const {
    const MutexLock lock(mutex_);
    return items_;
  }

 private:
  mutable Mutex mutex_;
  std::vector<T> items_ GUARDED_BY(mutex_);
};

using KnownValue = LastKnown<std::uint8_t>;

/// Appends to `objects` what `make` gives for each record that has the wanted UUID, if one is.
template <class Record, class Object, class Make>
void AppendObjects(const std::vector<Record>& records, const std::optional<Uuid>& wanted, Make make,
                   std::vector<std::shared_ptr<Object>>& objects) {
  for (const Record& record : records)
    if (!wanted || record.uuid == *wanted) objects.push_back(make(record));
}

}  // namespace ble::att
