#include "att/GattSearch.h"

#include <cstddef>
#include <optional>
#include <utility>

#include "att/AttStatus.h"
#include "base/GattUuids.h"

namespace ble::att {

namespace {

// One element of a server's answer, and the last handle that it accounts for: the search goes on
// behind it.
template <class Record>
struct Element {
  Record record;
  std::uint16_t last = 0;
};

// The two things in which searches differ.
template <class Record>
struct SearchKind {
  Opcode response;
  std::function<Pdu(std::uint16_t start, std::uint16_t end)> request;
  // No element when the bytes are not one.
  std::function<std::optional<Element<Record>>(ByteView bytes)> parse;
};

// A search in progress: asks for the range from next_ on until the server has no more.
template <class Record>
class Search : public std::enable_shared_from_this<Search<Record>> {
 public:
  Search(BearerPtr bearer, std::uint16_t start, std::uint16_t end, SearchKind<Record> kind,
         Found<Record> found)
      : bearer_(std::move(bearer)),
        next_(start),
        end_(end),
        kind_(std::move(kind)),
        found_(std::move(found)) {}

  void Continue() {
    bearer_->Request(
        kind_.request(next_, end_),
        [self = this->shared_from_this()](const AttReply& reply) { self->OnReply(reply); });
  }

 private:
  void OnReply(const AttReply& reply) {
    if (reply.outcome == AttReply::Outcome::Refused && reply.error == AttError::AttributeNotFound)
      return found_({}, std::move(records_));
    if (reply.outcome != AttReply::Outcome::Answered) return found_(StatusOf(reply), {});
    std::uint16_t last = 0;
    if (!TakeElements(reply.pdu, last)) return found_(ProtocolError(AttError::InvalidPdu), {});
    if (last >= end_) return found_({}, std::move(records_));
    next_ = static_cast<std::uint16_t>(last + 1);
    Continue();
  }

  bool TakeElements(ByteView pdu, std::uint16_t& last) {
    const auto list = AttributeList::Parse(pdu);
    if (!list || list->ResponseOpcode() != kind_.response) return false;
    std::uint32_t allowed = next_;
    for (std::size_t i = 0; i < list->Count(); ++i) {
      auto element = kind_.parse(list->Element(i));
      if (!element || element->record.handle < allowed || element->last < element->record.handle ||
          element->last > end_)
        return false;
      last = element->last;
      allowed = last + 1U;
      records_.push_back(std::move(element->record));
    }
    return true;
  }

  const BearerPtr bearer_;
  std::uint16_t next_;
  const std::uint16_t end_;
  const SearchKind<Record> kind_;
  const Found<Record> found_;
  std::vector<Record> records_;
};

template <class Record>
void RunSearch(const BearerPtr& bearer, std::uint16_t start, std::uint16_t end,
               SearchKind<Record> kind, Found<Record> found) {
  std::make_shared<Search<Record>>(bearer, start, end, std::move(kind), std::move(found))
      ->Continue();
}

auto ReadByType(Opcode opcode, std::uint16_t type) {
  return [opcode, type](std::uint16_t start, std::uint16_t end) {
    return Build(ReadByTypeRequest{opcode, start, end, Uuid::FromAssignedNumber(type)});
  };
}

// Handle, group end, UUID.
std::optional<Element<ServiceRecord>> ParseService(ByteView bytes) {
  ServiceRecord record;
  if (!TakeFields(bytes, record, &ServiceRecord::handle, &ServiceRecord::end, &ServiceRecord::uuid))
    return std::nullopt;
  return Element<ServiceRecord>{record, record.end};
}

// An include declaration: what it includes, with or without the UUID.
struct IncludeRecord {
  std::uint16_t handle = 0;
  ServiceRecord service;
  bool hasUuid = false;
};

std::optional<Element<IncludeRecord>> ParseInclude(ByteView bytes) {
  if (bytes.size() != 6 && bytes.size() != 8) return std::nullopt;
  ByteReader reader(bytes);
  IncludeRecord record;
  record.handle = reader.U16();
  record.service.handle = reader.U16();
  record.service.end = reader.U16();
  record.hasUuid = !reader.AtEnd();
  if (record.hasUuid) record.service.uuid = Uuid::FromAssignedNumber(reader.U16());
  if (record.service.handle == 0 || record.service.end < record.service.handle) return std::nullopt;
  return Element<IncludeRecord>{record, record.handle};
}

// Handle, then the declaration: properties, value handle, UUID.
std::optional<Element<CharacteristicRecord>> ParseCharacteristic(ByteView bytes) {
  using Record = CharacteristicRecord;
  Record record;
  if (!TakeFields(bytes, record, &Record::handle, &Record::properties, &Record::valueHandle,
                  &Record::uuid) ||
      record.valueHandle <= record.handle)
    return std::nullopt;
  return Element<CharacteristicRecord>{record, record.valueHandle};
}

std::optional<Element<DescriptorRecord>> ParseDescriptor(ByteView bytes) {
  DescriptorRecord record;
  if (!TakeFields(bytes, record, &DescriptorRecord::handle, &DescriptorRecord::uuid))
    return std::nullopt;
  return Element<DescriptorRecord>{record, record.handle};
}

// Reads, one after another, the UUIDs that include declarations had no room for.
class IncludedUuids : public std::enable_shared_from_this<IncludedUuids> {
 public:
  IncludedUuids(BearerPtr bearer, std::vector<IncludeRecord> includes, Found<ServiceRecord> found)
      : bearer_(std::move(bearer)), includes_(std::move(includes)), found_(std::move(found)) {
    services_.reserve(includes_.size());
  }

  void Continue() {
    while (services_.size() < includes_.size() && includes_[services_.size()].hasUuid)
      services_.push_back(includes_[services_.size()].service);
    if (services_.size() == includes_.size()) return found_({}, std::move(services_));
    const ReadRequest request{includes_[services_.size()].service.handle};
    bearer_->Request(Build(request), [self = shared_from_this()](const AttReply& reply) {
      self->OnDeclaration(reply);
    });
  }

 private:
  void OnDeclaration(const AttReply& reply) {
    if (reply.outcome != AttReply::Outcome::Answered) return found_(StatusOf(reply), {});
    const auto uuid = Uuid::FromAttForm(reply.pdu.subspan(1));
    if (!uuid) return found_(ProtocolError(AttError::InvalidPdu), {});
    services_.push_back(includes_[services_.size()].service);
    services_.back().uuid = *uuid;
    Continue();
  }

  const BearerPtr bearer_;
  const std::vector<IncludeRecord> includes_;
  const Found<ServiceRecord> found_;
  std::vector<ServiceRecord> services_;
};

}  // namespace

void DiscoverPrimaryServices(const BearerPtr& bearer, Found<ServiceRecord> found) {
  RunSearch<ServiceRecord>(
      bearer, 1, kMaxHandle,
      {Opcode::ReadByGroupTypeResponse,
       ReadByType(Opcode::ReadByGroupTypeRequest, gatt_uuid::kPrimaryService), ParseService},
      std::move(found));
}

void DiscoverPrimaryServicesByUuid(const BearerPtr& bearer, const Uuid& uuid,
                                   Found<ServiceRecord> found) {
  const auto request = [uuid](std::uint16_t start, std::uint16_t end) {
    return Build(FindByTypeValueRequest{start, end, gatt_uuid::kPrimaryService, {}}).Add(uuid);
  };
  const auto parse = [uuid](ByteView bytes) -> std::optional<Element<ServiceRecord>> {
    ByteReader reader(bytes);
    const std::uint16_t handle = reader.U16();
    const std::uint16_t end = reader.U16();
    return Element<ServiceRecord>{{handle, end, uuid}, end};
  };
  RunSearch<ServiceRecord>(bearer, 1, kMaxHandle, {Opcode::FindByTypeValueResponse, request, parse},
                           std::move(found));
}

void DiscoverIncludedServices(const BearerPtr& bearer, std::uint16_t start, std::uint16_t end,
                              Found<ServiceRecord> found) {
  RunSearch<IncludeRecord>(
      bearer, start, end,
      {Opcode::ReadByTypeResponse, ReadByType(Opcode::ReadByTypeRequest, gatt_uuid::kInclude),
       ParseInclude},
      [bearer, found = std::move(found)](const GattResult& status,
                                         std::vector<IncludeRecord> includes) {
        if (!Succeeded(status)) return found(status, {});
        std::make_shared<IncludedUuids>(bearer, std::move(includes), found)->Continue();
      });
}

void DiscoverCharacteristics(const BearerPtr& bearer, std::uint16_t start, std::uint16_t end,
                             Found<CharacteristicRecord> found) {
  RunSearch<CharacteristicRecord>(
      bearer, start, end,
      {Opcode::ReadByTypeResponse,
       ReadByType(Opcode::ReadByTypeRequest, gatt_uuid::kCharacteristic), ParseCharacteristic},
      [end, found = std::move(found)](const GattResult& status,
                                      std::vector<CharacteristicRecord> records) {
        for (std::size_t i = 0; i < records.size(); ++i)
          records[i].end =
              i + 1 < records.size() ? static_cast<std::uint16_t>(records[i + 1].handle - 1) : end;
        found(status, std::move(records));
      });
}

void DiscoverDescriptors(const BearerPtr& bearer, std::uint16_t start, std::uint16_t end,
                         Found<DescriptorRecord> found) {
  if (start == 0 || start > end) return found({}, {});
  RunSearch<DescriptorRecord>(bearer, start, end,
                              {Opcode::FindInformationResponse,
                               [](std::uint16_t from, std::uint16_t to) {
                                 return Build(FindInformationRequest{from, to});
                               },
                               ParseDescriptor},
                              std::move(found));
}

}  // namespace ble::att
