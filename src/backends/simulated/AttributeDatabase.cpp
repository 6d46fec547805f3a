#include "backends/simulated/AttributeDatabase.h"

#include <algorithm>
#include <map>

#include "base/HexText.h"
#include "platform/Gatt.h"

namespace ble::simulated {

namespace property = gatt_characteristic_properties;

namespace {

std::string HandleText(std::uint16_t handle) {
  return HexNumber<std::string>(handle, 4);
}

Attribute Declaration(std::uint16_t type) {
  Attribute attribute;
  attribute.type = Uuid::FromAssignedNumber(type);
  return attribute;
}

Attribute FromScenario(const AttributeScenario& scenario) {
  Attribute attribute;
  attribute.type = scenario.uuid;
  static_cast<AttributeRules&>(attribute) = scenario;
  return attribute;
}

CharacteristicScenario Characteristic(std::uint16_t uuid, std::uint32_t properties, Bytes value) {
  CharacteristicScenario characteristic;
  characteristic.uuid = Uuid::FromAssignedNumber(uuid);
  characteristic.properties = properties;
  characteristic.value = std::move(value);
  return characteristic;
}

ServiceScenario GenericAccess(std::string_view deviceName) {
  ServiceScenario service;
  service.uuid = Uuid::FromAssignedNumber(gatt_uuid::kGenericAccess);
  service.characteristics.push_back(Characteristic(gatt_uuid::kDeviceName, property::kRead,
                                                   {deviceName.begin(), deviceName.end()}));
  service.characteristics.push_back(
      Characteristic(gatt_uuid::kAppearance, property::kRead, {0, 0}));
  return service;
}

ServiceScenario GenericAttribute() {
  ServiceScenario service;
  service.uuid = Uuid::FromAssignedNumber(gatt_uuid::kGenericAttribute);
  service.characteristics.push_back(
      Characteristic(gatt_uuid::kServiceChanged, property::kIndicate, {}));
  return service;
}

/// Whether an attribute or a service of a list has this assigned number.
template <class Scenario>
bool Lists(const std::vector<Scenario>& list, std::uint16_t number) {
  return std::ranges::find(list, Uuid::FromAssignedNumber(number), &Scenario::uuid) != list.end();
}

}  // namespace

/// Places services one after another; the first error stops it.
class DatabaseBuilder {
 public:
  explicit DatabaseBuilder(AttributeDatabase& database) : database_(database) {}

  void SetNextHandle(std::uint32_t handle) { next_ = handle; }

  bool Place(const ServiceScenario& service) {
    service_ = HandleText(service.handle.value_or(static_cast<std::uint16_t>(next_))) + ": ";
    if (service.handle) next_ = *service.handle;
    Attribute declaration =
        Declaration(service.primary ? gatt_uuid::kPrimaryService : gatt_uuid::kSecondaryService);
    Append(declaration.value, service.uuid.AttForm().View());
    const std::size_t index = Attributes().size();
    if (!Add(std::move(declaration), std::nullopt)) return false;
    if (!service.id.empty() && !services_.emplace(service.id, index).second)
      return Fail("another service has the id \"" + service.id + "\"");
    for (const std::string& id : service.includes) {
      includes_.emplace_back(Attributes().size(), id);
      if (!Add(Declaration(gatt_uuid::kInclude), std::nullopt)) return false;
    }
    for (const CharacteristicScenario& characteristic : service.characteristics) {
      if (!Place(characteristic)) return false;
    }
    Attributes()[index].groupEnd = Attributes().back().handle;
    return true;
  }

  /// Fills in what is known once every service has its handles, and puts them in order.
  bool Finish() {
    for (const auto& [index, id] : includes_) {
      service_ = HandleText(Attributes()[index].handle) + ": ";
      const auto target = services_.find(id);
      if (target == services_.end()) return Fail("no service has the id \"" + id + "\"");
      const Attribute& included = Attributes()[target->second];
      Bytes& value = Attributes()[index].value;
      AppendU16(value, included.handle);
      AppendU16(value, included.groupEnd);
      if (included.value.size() == 2) Append(value, included.value);
    }
    const auto byHandle = [](const auto& a, const auto& b) { return a.handle < b.handle; };
    std::stable_sort(Attributes().begin(), Attributes().end(), byHandle);
    std::sort(database_.characteristics_.begin(), database_.characteristics_.end(),
              [](const auto& a, const auto& b) { return a.valueHandle < b.valueHandle; });
    return CheckOverlaps();
  }

  const std::string& Error() const { return error_; }

 private:
  std::vector<Attribute>& Attributes() { return database_.attributes_; }

  bool Fail(const std::string& text) {
    error_ = service_ + text;
    return false;
  }

  bool Add(Attribute attribute, std::optional<std::uint16_t> handle) {
    if (handle && *handle < next_)
      return Fail("handle " + HandleText(*handle) + " is not behind the attributes before it");
    const std::uint32_t chosen = handle ? *handle : next_;
    if (chosen == 0) return Fail("0 is not an attribute handle");
    if (chosen > 0xFFFF) return Fail("no attribute handles are left");
    attribute.handle = static_cast<std::uint16_t>(chosen);
    next_ = chosen + 1;
    Attributes().push_back(std::move(attribute));
    return true;
  }

  bool Place(const CharacteristicScenario& scenario) {
    const std::uint32_t extended =
        scenario.properties & (property::kReliableWrites | property::kWritableAuxiliaries);
    const bool subscribable =
        (scenario.properties & (property::kNotify | property::kIndicate)) != 0;

    if (!Add(Declaration(gatt_uuid::kCharacteristic), scenario.handle)) return false;
    Attribute& declaration = Attributes().back();
    declaration.value.push_back(static_cast<std::uint8_t>(
        scenario.properties | (extended ? property::kExtendedProperties : 0U)));
    const auto valueHandle = static_cast<std::uint16_t>(declaration.handle + 1);
    AppendU16(declaration.value, valueHandle);
    Append(declaration.value, scenario.uuid.AttForm().View());

    Attribute value = FromScenario(scenario);
    value.readable = (scenario.properties & property::kRead) != 0;
    value.writable = (scenario.properties & property::kWrite) != 0;
    value.writableCommand = (scenario.properties & property::kWriteWithoutResponse) != 0;
    if (!Add(std::move(value), std::nullopt)) return false;

    HostedCharacteristic hosted;
    hosted.valueHandle = valueHandle;
    hosted.properties = scenario.properties;
    if (scenario.stream) hosted.stream = std::make_shared<ValueStream>(*scenario.stream);
    hosted.echo = scenario.echo;
    if (!PlaceDescriptors(scenario, hosted)) return false;
    if (subscribable && hosted.configurationHandle == 0) {
      if (!AddConfiguration(Declaration(gatt_uuid::kClientConfiguration), {}, hosted)) return false;
    }
    if (extended && !Lists(scenario.descriptors, gatt_uuid::kExtendedProperties)) {
      Attribute descriptor = Declaration(gatt_uuid::kExtendedProperties);
      AppendU16(descriptor.value, static_cast<std::uint16_t>(extended >> 8));
      if (!Add(std::move(descriptor), std::nullopt)) return false;
    }
    database_.characteristics_.push_back(std::move(hosted));
    return true;
  }

  bool PlaceDescriptors(const CharacteristicScenario& characteristic,
                        HostedCharacteristic& hosted) {
    for (const DescriptorScenario& scenario : characteristic.descriptors) {
      Attribute descriptor = FromScenario(scenario);
      descriptor.writable = scenario.writable;
      const bool placed = descriptor.IsType(gatt_uuid::kClientConfiguration)
                              ? AddConfiguration(std::move(descriptor), scenario.handle, hosted)
                              : Add(std::move(descriptor), scenario.handle);
      if (!placed) return false;
    }
    return true;
  }

  bool AddConfiguration(Attribute descriptor, std::optional<std::uint16_t> handle,
                        HostedCharacteristic& hosted) {
    descriptor.writable = true;
    descriptor.maxLength = 2;
    if (!Add(std::move(descriptor), handle)) return false;
    hosted.configurationHandle = Attributes().back().handle;
    return true;
  }

  bool CheckOverlaps() {
    std::uint16_t serviceEnd = 0;
    for (const Attribute& attribute : Attributes()) {
      if (!attribute.IsService() || attribute.groupEnd == 0) continue;
      service_ = HandleText(attribute.handle) + ": ";
      if (attribute.handle <= serviceEnd)
        return Fail("the service lies inside the one before it, which ends at " +
                    HandleText(serviceEnd));
      serviceEnd = attribute.groupEnd;
    }
    return true;
  }

  AttributeDatabase& database_;
  std::uint32_t next_ = 1;
  std::string service_;  ///< how messages name the service at hand
  std::string error_;
  std::map<std::string, std::size_t, std::less<>> services_;   ///< id -> declaration's index
  std::vector<std::pair<std::size_t, std::string>> includes_;  ///< declaration's index, id
};

namespace {

constexpr std::uint32_t kGenericAccessHandles = 5;     ///< service, 2 characteristics
constexpr std::uint32_t kGenericAttributeHandles = 4;  ///< service, characteristic, configuration

}  // namespace

std::optional<AttributeDatabase> AttributeDatabase::Build(
    const std::vector<ServiceScenario>& services, std::string_view deviceName, std::string& error) {
  std::vector<ServiceScenario> added;
  std::uint32_t reserved = 0;
  if (!Lists(services, gatt_uuid::kGenericAccess)) {
    added.push_back(GenericAccess(deviceName));
    reserved += kGenericAccessHandles;
  }
  if (!Lists(services, gatt_uuid::kGenericAttribute)) {
    added.push_back(GenericAttribute());
    reserved += kGenericAttributeHandles;
  }

  AttributeDatabase database;
  DatabaseBuilder builder(database);
  bool placed = true;
  builder.SetNextHandle(reserved + 1);
  for (const ServiceScenario& service : services)
    placed = placed && builder.Place(service);

  std::uint32_t first = 0x10000;
  std::uint32_t last = 0;
  for (const Attribute& attribute : database.attributes_) {
    first = std::min<std::uint32_t>(first, attribute.handle);
    last = std::max<std::uint32_t>(last, attribute.handle);
  }
  builder.SetNextHandle(first > reserved ? 1 : last + 1);
  for (const ServiceScenario& service : added)
    placed = placed && builder.Place(service);

  if (placed && builder.Finish()) return database;
  error = builder.Error();
  return std::nullopt;
}

std::span<const Attribute> AttributeDatabase::InRange(std::uint16_t start,
                                                      std::uint16_t end) const {
  const auto first = std::ranges::lower_bound(attributes_, start, {}, &Attribute::handle);
  const auto last = std::ranges::upper_bound(attributes_, end, {}, &Attribute::handle);
  return {first, last};
}

Attribute* AttributeDatabase::Find(std::uint16_t handle) {
  const auto found = std::ranges::lower_bound(attributes_, handle, {}, &Attribute::handle);
  return found != attributes_.end() && found->handle == handle ? &*found : nullptr;
}

const HostedCharacteristic* AttributeDatabase::FindByValue(std::uint16_t valueHandle) const {
  const auto found = std::ranges::lower_bound(characteristics_, valueHandle, {},
                                              &HostedCharacteristic::valueHandle);
  return found != characteristics_.end() && found->valueHandle == valueHandle ? &*found : nullptr;
}

const HostedCharacteristic* AttributeDatabase::FindByConfiguration(
    std::uint16_t configurationHandle) const {
  // A configuration belongs to the last characteristic that begins before it.
  const auto next = std::ranges::upper_bound(characteristics_, configurationHandle, {},
                                             &HostedCharacteristic::valueHandle);
  if (next == characteristics_.begin()) return nullptr;
  const HostedCharacteristic& found = *std::prev(next);
  return found.configurationHandle == configurationHandle ? &found : nullptr;
}

std::uint16_t AttributeDatabase::ValueHandleOf(std::uint16_t assignedNumber) const {
  const auto found =
      std::find_if(attributes_.begin(), attributes_.end(),
                   [&](const Attribute& attribute) { return attribute.IsType(assignedNumber); });
  return found != attributes_.end() ? found->handle : std::uint16_t{0};
}

std::optional<std::string> CheckDatabase(const std::vector<ServiceScenario>& services) {
  std::string error;
  if (AttributeDatabase::Build(services, {}, error)) return std::nullopt;
  return error;
}

}  // namespace ble::simulated
