#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <string>
#include <vector>

#include "base/Bytes.h"

namespace ble::linux_radio {

/// Reads D-Bus values where they may be of any type: a value of another type than asked for reads
/// as empty, and the reader goes on behind it. What a daemon sends is not trusted more than that.
class BusReader {
 public:
  explicit BusReader(sd_bus_message* message) : message_(message) {}

  std::string Text() {
    const char* text = nullptr;
    const char type = NextType();
    if (type != 's' && type != 'o') return Skipped<std::string>();
    return sd_bus_message_read_basic(message_, type, &text) > 0 ? text : std::string();
  }

  bool Boolean() { return Basic<int>('b') != 0; }
  std::int16_t Int16() { return Basic<std::int16_t>('n'); }
  std::uint16_t UInt16() { return Basic<std::uint16_t>('q'); }

  Bytes ByteArray() {
    const void* data = nullptr;
    std::size_t size = 0;
    if (NextSignature() != "ay") return Skipped<Bytes>();
    if (sd_bus_message_read_array(message_, 'y', &data, &size) < 0) return {};
    const auto* const bytes = static_cast<const std::uint8_t*>(data);
    return Bytes(bytes, bytes + size);
  }

  std::vector<std::string> Texts() {
    std::vector<std::string> texts;
    if (NextSignature() != "as") return Skipped<std::vector<std::string>>();
    ForEach('a', "s", [&] { texts.push_back(Text()); });
    return texts;
  }

  /// Calls `each` at every entry of a dictionary, to read its key; then its value, inside a
  /// variant when `signature` is `{…v}`, must be read by `InVariant`.
  template <class Each>
  void ForEachEntry(const char* signature, Each each) {
    const std::string whole = "a{" + std::string(signature) + "}";
    if (NextSignature() != whole) return (void)Skipped<int>();
    const std::string entry = "{" + std::string(signature) + "}";
    ForEach('a', entry.c_str(), [&] {
      if (sd_bus_message_enter_container(message_, 'e', signature) <= 0) return Fail();
      each();
      Leave();
    });
  }

  /// Reads one variant: `read` is called at its value.
  template <class Read>
  void InVariant(Read read) {
    const char* contents = nullptr;
    char type = 0;
    if (sd_bus_message_peek_type(message_, &type, &contents) <= 0 || type != 'v') return;
    if (sd_bus_message_enter_container(message_, 'v', contents) <= 0) return;
    read();
    Leave();
  }

 private:
  char NextType() {
    char type = 0;
    return sd_bus_message_peek_type(message_, &type, nullptr) > 0 ? type : '\0';
  }

  std::string NextSignature() {
    const char* contents = nullptr;
    char type = 0;
    if (sd_bus_message_peek_type(message_, &type, &contents) <= 0) return {};
    return type + std::string(contents ? contents : "");
  }

  template <class T>
  T Basic(char type) {
    T value{};
    if (NextType() != type) return Skipped<T>();
    sd_bus_message_read_basic(message_, type, &value);
    return value;
  }

  template <class T>
  T Skipped() {
    if (sd_bus_message_skip(message_, nullptr) <= 0) Fail();
    return {};
  }

  template <class Each>
  void ForEach(char type, const char* contents, Each each) {
    if (sd_bus_message_enter_container(message_, type, contents) <= 0) return;
    while (!failed_ && sd_bus_message_at_end(message_, 0) == 0)
      each();
    Leave();
  }

  /// Leaves a container wherever in it the reading stopped.
  void Leave() {
    while (sd_bus_message_at_end(message_, 0) == 0 && sd_bus_message_skip(message_, nullptr) > 0) {
    }
    sd_bus_message_exit_container(message_);
  }

  void Fail() { failed_ = true; }

  sd_bus_message* message_;
  bool failed_ = false;  ///< the message makes no sense from here on; loops end
};

}  // namespace ble::linux_radio
