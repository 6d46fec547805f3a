#include "api/EventString.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "platform/TextConverter.h"

namespace ble {
namespace {

// Bindings in other languages lay the record out by hand.
static_assert(sizeof(void*) != 4 ||
              (offsetof(EventString, narrow) == 12 && offsetof(EventString, wide) == 16 &&
               sizeof(EventString) == 20));

template <class Char>
using View = std::basic_string_view<Char>;

/// How the record keeps a text of one form: where, and which ownership bit goes with it.
template <class Char>
struct Form;

template <>
struct Form<char> {
  static constexpr std::uint32_t kOwned = CORVANEBLE_OWNS_NARROW;
  static const char*& Of(EventString& record) { return record.narrow; }
};

template <>
struct Form<char16_t> {
  static constexpr std::uint32_t kOwned = CORVANEBLE_OWNS_WIDE;
  static const char16_t*& Of(EventString& record) { return record.wide; }
};

template <class Char>
const Char* CopyOf(View<Char> text) {
  auto* copy = new Char[text.size() + 1];
  *std::copy(text.begin(), text.end(), copy) = 0;
  return copy;
}

template <class Char>
void Release(EventString& record) {
  if ((record.ownership & Form<Char>::kOwned) != 0) delete[] Form<Char>::Of(record);
  Form<Char>::Of(record) = nullptr;
}

ConversionError Convert(std::uint32_t codePage, std::u16string_view from, std::string& to) {
  return SystemTextConverter().ToNarrow(codePage, from, to);
}

ConversionError Convert(std::uint32_t codePage, std::string_view from, std::u16string& to) {
  return SystemTextConverter().ToWide(codePage, from, to);
}

template <class Char, class Other>
const Char* Read(EventString& record) {
  static constexpr Char kEmpty[] = {0};
  if (record.conversionError != 0) return nullptr;
  const Char*& text = Form<Char>::Of(record);
  if (text != nullptr) return text;
  const Other* other = Form<Other>::Of(record);
  if (other == nullptr) return nullptr;
  if (*other == 0) return kEmpty;
  std::basic_string<Char> converted;
  record.conversionError =
      static_cast<std::int32_t>(Convert(record.codePage, View<Other>(other), converted));
  if (record.conversionError != 0) return nullptr;
  text = CopyOf<Char>(converted);
  record.ownership |= Form<Char>::kOwned;
  return text;
}

template <class Char>
bool IsSame(const Char* a, const Char* b) {
  return a == b || (a != nullptr && b != nullptr && View<Char>(a) == View<Char>(b));
}

template <class Char>
void Store(EventString& record, const Char* text, bool copy) {
  const Char*& stored = Form<Char>::Of(record);
  if (IsSame(stored, text) && (text != nullptr || !copy)) return;
  const Char* next = copy && text != nullptr ? CopyOf<Char>(text) : text;
  ClearEventString(record);
  stored = next;
  if (copy && next != nullptr) record.ownership = Form<Char>::kOwned;
}

}  // namespace

void ClearEventString(EventString& record) {
  Release<char>(record);
  Release<char16_t>(record);
  record.conversionError = 0;
  record.ownership = 0;
}

const char* ReadNarrow(EventString& record) {
  return Read<char, char16_t>(record);
}
const char16_t* ReadWide(EventString& record) {
  return Read<char16_t, char>(record);
}

void SetNarrow(EventString& record, const char* text, bool copy) {
  Store(record, text, copy);
}
void SetWide(EventString& record, const char16_t* text, bool copy) {
  Store(record, text, copy);
}

}  // namespace ble
