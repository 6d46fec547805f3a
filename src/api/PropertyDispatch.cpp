#include "api/PropertyDispatch.h"

#include <utility>

#include "api/Boundary.h"

namespace ble {
namespace {

std::intptr_t PointerValue(const void* pointer) {
  return reinterpret_cast<std::intptr_t>(pointer);
}

/// Empty in either form: its bytes are a narrow terminator too.
std::intptr_t EmptyText() {
  return PointerValue(u"");
}

void StoreLength(std::int32_t* length, std::size_t value) {
  if (length != nullptr) *length = static_cast<std::int32_t>(value);
}

/// The failure of an index that is outside its collection; null for a valid one.
const Failure* BadIndex(const Session& session, Collection collection, std::int32_t index) {
  const auto check = [index](std::int64_t count, const Failure& failure) {
    return index >= 0 && index < count ? nullptr : &failure;
  };
  switch (collection) {
    case Collection::None:
      break;
    case Collection::Services:
      return check(static_cast<std::int64_t>(session.tree.ServiceCount()),
                   failure::kInvalidServiceIndex);
    case Collection::Characteristics:
      return check(session.selection.CharacteristicCount(), failure::kInvalidCharacteristicIndex);
    case Collection::Descriptors:
      return check(session.selection.DescriptorCount(), failure::kInvalidDescriptorIndex);
  }
  return nullptr;
}

}  // namespace

std::intptr_t PropertyDispatch::Get(std::int32_t propertyId, std::int32_t index,
                                    std::int32_t* length) {
  const auto [number, form] = DecodePropertyNumber(propertyId);
  if (number == kVersionProperty) return PointerValue(kVersionMarker);
  if (number == kCodePageProperty) return static_cast<std::int32_t>(owners_.base.codec.CodePage());
  ErrorState& errors = owners_.base.errors;
  errors.SetLastCode(error::kSuccess);
  const PropertyInfo* info = FindProperty(number);
  if (info == nullptr) return 0;

  Answer answer{info->type == PropertyType::Integer ? 0 : EmptyText(), length};
  const SessionPtr session = owners_.connection.Current();
  const Status status = RunToStatus([&, form = form]() -> Status {
    if (const Failure* bad = BadIndex(*session, info->collection, index)) return *bad;
    return Read(*info, form, {owners_, *session, index}, answer);
  });
  if (!status.Ok()) {
    errors.Note(status);
    errors.SetLastCode(status.Code());
  }
  return answer.value;
}

Status PropertyDispatch::Read(const PropertyInfo& info, TextForm form, const PropertyCall& call,
                              Answer& answer) {
  const PropertyAccessor& accessor = AccessorOf(info.id);
  if (const auto* read = std::get_if<PropertyAccessor::ReadInteger>(&accessor.read)) {
    answer.value = (*read)(call);
  } else if (const auto* readText = std::get_if<PropertyAccessor::ReadText>(&accessor.read)) {
    answer.value = HandOut((*readText)(call), slots_.OfProperty(info.id), form);
  } else if (const auto* readBytes = std::get_if<PropertyAccessor::ReadBytes>(&accessor.read)) {
    auto [status, bytes] = (*readBytes)(call);
    if (status.Ok()) {
      HandOut(std::move(bytes), slots_.OfProperty(info.id), form, answer);
    } else {
      StoreLength(answer.length, 0);
      if (form != TextForm::BytesAsWide) answer.value = 0;
      return std::move(status);
    }
  }
  return {};
}

std::intptr_t PropertyDispatch::HandOut(TextValue&& text, ReturnSlot& slot, TextForm form) {
  if (form == TextForm::Wide) {
    const std::string_view narrow = text.record ? std::string_view(text.text) : text.computed;
    (void)owners_.base.codec.ToWide(narrow, slot.wide);
    return PointerValue(slot.wide.c_str());
  }
  if (text.record) {
    slot.record = std::move(text.record);
    return PointerValue(text.text);
  }
  slot.narrow = std::move(text.computed);
  return PointerValue(slot.narrow.c_str());
}

void PropertyDispatch::HandOut(Bytes bytes, ReturnSlot& slot, TextForm form, Answer& answer) {
  if (form == TextForm::BytesAsWide) {
    (void)owners_.base.codec.ToWide({reinterpret_cast<const char*>(bytes.data()), bytes.size()},
                                    slot.wide);
    StoreLength(answer.length, slot.wide.size());
    answer.value = PointerValue(slot.wide.c_str());
    return;
  }
  StoreLength(answer.length, bytes.size());
  slot.bytes = std::move(bytes);
  slot.bytes.push_back(0);
  answer.value = PointerValue(slot.bytes.data());
}

ErrorCode PropertyDispatch::Set(std::int32_t propertyId, std::int32_t index, std::intptr_t value) {
  const auto [number, form] = DecodePropertyNumber(propertyId);
  const PropertyInfo* info = FindProperty(number);
  if (info == nullptr) return error::kUnknown;
  ErrorState& errors = owners_.base.errors;
  // A text is converted before anything else is checked: the failure of the conversion comes first.
  std::string text;
  if (info->type == PropertyType::Text && value != 0) {
    const Status status = RunToStatus([&, form = form] {
      if (form == TextForm::Wide) {
        return Status(owners_.base.codec.ToNarrow(reinterpret_cast<const char16_t*>(value), text));
      }
      text = reinterpret_cast<const char*>(value);
      return Status();
    });
    if (!status.Ok()) return errors.Finish(status);
  }
  if (info->access != PropertyAccess::ReadWrite) return error::kUnknown;
  const SessionPtr session = owners_.connection.Current();
  if (const Failure* bad = BadIndex(*session, info->collection, index)) {
    errors.Note(*bad);
    return bad->code;
  }
  const PropertyAccessor& accessor = AccessorOf(info->id);
  const PropertyCall call{owners_, *session, index};
  return errors.Finish(RunToStatus([&] {
    if (const auto* writeText = std::get_if<PropertyAccessor::WriteText>(&accessor.write)) {
      return (*writeText)(call, text);
    }
    return std::get<PropertyAccessor::WriteInteger>(accessor.write)(
        call, static_cast<std::int32_t>(value));
  }));
}

ErrorCode PropertyDispatch::CheckIndex(std::int32_t propertyId, std::int32_t index) {
  const PropertyInfo* info = FindProperty(propertyId);
  if (info == nullptr) return error::kSuccess;
  const Failure* bad = BadIndex(*owners_.connection.Current(), info->collection, index);
  if (bad == nullptr) return error::kSuccess;
  owners_.base.errors.Note(*bad);
  return error::kIndexOutOfRange;
}

}  // namespace ble
