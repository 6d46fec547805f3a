#include "gatt/Attributes.h"

#include <stdexcept>

#include "gatt/GattTree.h"
#include "text/Names.h"
#include "text/Text.h"

namespace corvaneble::tool {
namespace {

/// The properties that list one level of the tree.
struct Level {
  const char* kind;
  int (Client::*count)() const;
  std::string (Client::*id)(int) const;
  std::string (Client::*uuid)(int) const;
  std::string (Client::*description)(int) const;
};

constexpr Level kServices{"service", &Client::ServiceCount, &Client::ServiceId,
                          &Client::ServiceUuid, &Client::ServiceDescription};
constexpr Level kCharacteristics{"characteristic", &Client::CharacteristicCount,
                                 &Client::CharacteristicId, &Client::CharacteristicUuid,
                                 &Client::CharacteristicDescription};
constexpr Level kDescriptors{"descriptor", &Client::DescriptorCount, &Client::DescriptorId,
                             &Client::DescriptorUuid, &Client::DescriptorDescription};

/// Indices of the elements that `wanted` names, by identifier or by UUID.
std::vector<int> Matches(const Client& client, const Level& level, const std::string& wanted) {
  const bool byId = IsIdentifier(wanted);
  const std::string text = ToUpper(byId ? wanted : CanonicalUuid(wanted));
  const auto key = byId ? level.id : level.uuid;
  std::vector<int> matches;
  const int count = (client.*level.count)();
  for (int i = 0; i < count; ++i)
    if ((client.*key)(i) == text) matches.push_back(i);
  return matches;
}

int TheOne(const Client& client, const Level& level, const std::string& wanted,
           const std::string& owner = "the device") {
  const auto matches = Matches(client, level, wanted);
  if (matches.empty())
    throw std::runtime_error(owner + " has no " + std::string(level.kind) + " " + wanted);
  if (matches.size() == 1) return matches.front();
  std::string text = "the device has several: name the " + std::string(level.kind) + " by one of";
  for (const int match : matches)
    text.append(1, ' ').append((client.*level.id)(match));
  throw std::runtime_error(text);
}

int FindService(Client& client, const std::string& wanted) {
  if (!IsIdentifier(wanted)) {
    client.DiscoverServices(wanted);
    if (!Matches(client, kServices, wanted).empty()) return TheOne(client, kServices, wanted);
  }
  DiscoverAllServices(client);  // it may be included by another one only
  return TheOne(client, kServices, wanted);
}

}  // namespace

bool IsIdentifier(const std::string& text) {
  return text.size() == 12 && IsHex(text);
}

FoundAttribute FindAttribute(Client& client, const AttributePath& wanted) {
  FoundAttribute found;
  const auto take = [&](const Level& level, int index) {
    found.uuid = (client.*level.uuid)(index);
    found.name = (client.*level.description)(index);
    return (client.*level.id)(index);
  };
  found.path.service = take(kServices, FindService(client, wanted.service));

  const std::string& characteristic = wanted.characteristic;
  client.DiscoverCharacteristics(found.path.service,
                                 IsIdentifier(characteristic) ? "" : characteristic);
  client.SetSelectedService(found.path.service);
  const int index = found.index =
      TheOne(client, kCharacteristics, characteristic, "service " + wanted.service);
  found.path.characteristic = take(kCharacteristics, index);
  if (wanted.descriptor.empty()) {
    found.formats = FormatsOf(client, index);
    return found;
  }
  client.DiscoverDescriptors(found.path.service, found.path.characteristic);
  client.SetSelectedCharacteristic(found.path.characteristic);
  found.path.descriptor = take(kDescriptors, TheOne(client, kDescriptors, wanted.descriptor,
                                                    "characteristic " + characteristic));
  return found;
}

}  // namespace corvaneble::tool
