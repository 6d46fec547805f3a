#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ble {

/// The settings that hold a value, in the order of `kSettingTable`.
enum class Setting : std::size_t {
  AutoDiscoverCharacteristics,
  AutoDiscoverDescriptors,
  AutoDiscoverIncludedServices,
  IncludeRediscovered,
  LogLevel,
  PreferIndications,
  ScanStartedTimeout,
  SelectWaitMillis,
  AbsoluteTimeout,
  TimeoutInMilliseconds,
  WinsockStatus,
  IgnoreExternalEvents,
  IgnoreOtherWindowEvents,
  WinsockVersion,
  QOSTrafficType,
  QOSDSCPValue,
  UseWindowsMessages,
  UseIOCP,
  SSLProvider,
  SSLCipherStrength,
  UseDefaultCredentials,
  ReuseSSLSession,
  ExtendedProtection,
  SSLEnabledCipherSuites,
  SSLAlgorithmList,
  SSLSecurityFlags,
  SSLIncludeCertChain,
  SSLEnabledProtocols,
  SSLEnableRenegotiation,
  UseIPv6,
  UseGetAddrInfo,
  KerberosSPN,
  UseSystemSSPI,
  RecordToFile,
  RecordToString,
  UseInternalSecurityAPI,
  BTAuthenticate,
  BTEncrypt,
  BTMTU,
  BTMTUMax,
  BTMTUMin,
  CodePage,
  CharsetMode,
  LogDebugFile,
  LogDebugOption,
  ZeroMemory,
};

enum class SettingKind { Boolean, Integer, Octet, Text };

/// Who answers for a setting. A name is looked for level by level in this order.
enum class SettingLevel {
  Engine,
  Transport,  ///< of the shared transport layer: kept for the host, without effect here
  Base,
};

struct SettingInfo {
  Setting id;
  std::string_view name;
  SettingKind kind;
  std::string_view defaultValue;
  SettingLevel level;
};

inline constexpr auto kSettingTable = [] {
  using enum SettingKind;
  using enum SettingLevel;
  return std::to_array<SettingInfo>({
      {Setting::AutoDiscoverCharacteristics, "AutoDiscoverCharacteristics", Boolean, "False",
       Engine},
      {Setting::AutoDiscoverDescriptors, "AutoDiscoverDescriptors", Boolean, "False", Engine},
      {Setting::AutoDiscoverIncludedServices, "AutoDiscoverIncludedServices", Boolean, "False",
       Engine},
      {Setting::IncludeRediscovered, "IncludeRediscovered", Boolean, "True", Engine},
      {Setting::LogLevel, "LogLevel", Integer, "1", Engine},
      {Setting::PreferIndications, "PreferIndications", Boolean, "False", Engine},
      {Setting::ScanStartedTimeout, "ScanStartedTimeout", Integer, "2", Engine},
      {Setting::SelectWaitMillis, "SelectWaitMillis", Integer, "20", Transport},
      {Setting::AbsoluteTimeout, "AbsoluteTimeout", Boolean, "False", Transport},
      {Setting::TimeoutInMilliseconds, "TimeoutInMilliseconds", Boolean, "False", Transport},
      {Setting::WinsockStatus, "WinsockStatus", Text, "Running", Transport},
      {Setting::IgnoreExternalEvents, "IgnoreExternalEvents", Boolean, "False", Transport},
      {Setting::IgnoreOtherWindowEvents, "IgnoreOtherWindowEvents", Boolean, "False", Transport},
      {Setting::WinsockVersion, "WinsockVersion", Text, "2.2", Transport},
      {Setting::QOSTrafficType, "QOSTrafficType", Text, "BestEffort", Transport},
      {Setting::QOSDSCPValue, "QOSDSCPValue", Integer, "0", Transport},
      {Setting::UseWindowsMessages, "UseWindowsMessages", Boolean, "True", Transport},
      {Setting::UseIOCP, "UseIOCP", Boolean, "False", Transport},
      {Setting::SSLProvider, "SSLProvider", Text, "", Transport},
      {Setting::SSLCipherStrength, "SSLCipherStrength", Integer, "0", Transport},
      {Setting::UseDefaultCredentials, "UseDefaultCredentials", Boolean, "False", Transport},
      {Setting::ReuseSSLSession, "ReuseSSLSession", Boolean, "True", Transport},
      {Setting::ExtendedProtection, "ExtendedProtection", Boolean, "False", Transport},
      {Setting::SSLEnabledCipherSuites, "SSLEnabledCipherSuites", Text, "", Transport},
      {Setting::SSLAlgorithmList, "SSLAlgorithmList", Text, "", Transport},
      {Setting::SSLSecurityFlags, "SSLSecurityFlags", Text, "", Transport},
      {Setting::SSLIncludeCertChain, "SSLIncludeCertChain", Boolean, "False", Transport},
      {Setting::SSLEnabledProtocols, "SSLEnabledProtocols", Integer, "0", Transport},
      {Setting::SSLEnableRenegotiation, "SSLEnableRenegotiation", Boolean, "True", Transport},
      {Setting::UseIPv6, "UseIPv6", Boolean, "False", Transport},
      {Setting::UseGetAddrInfo, "UseGetAddrInfo", Boolean, "True", Transport},
      {Setting::KerberosSPN, "KerberosSPN", Text, "", Transport},
      {Setting::UseSystemSSPI, "UseSystemSSPI", Boolean, "True", Transport},
      {Setting::RecordToFile, "RecordToFile", Text, "", Transport},
      {Setting::RecordToString, "RecordToString", Text, "", Transport},
      {Setting::UseInternalSecurityAPI, "UseInternalSecurityAPI", Boolean, "False", Transport},
      {Setting::BTAuthenticate, "BTAuthenticate", Boolean, "False", Transport},
      {Setting::BTEncrypt, "BTEncrypt", Boolean, "False", Transport},
      {Setting::BTMTU, "BTMTU", Integer, "0", Transport},
      {Setting::BTMTUMax, "BTMTUMax", Integer, "0", Transport},
      {Setting::BTMTUMin, "BTMTUMin", Integer, "0", Transport},
      {Setting::CodePage, "CodePage", Integer, "0", Base},
      {Setting::CharsetMode, "CharsetMode", Octet, "0", Base},
      {Setting::LogDebugFile, "LogDebugFile", Text, "", Base},
      {Setting::LogDebugOption, "LogDebugOption", Integer, "0", Base},
      {Setting::ZeroMemory, "ZeroMemory", Boolean, "False", Base},
  });
}();

constexpr const SettingInfo& InfoOf(Setting id) {
  return kSettingTable[static_cast<std::size_t>(id)];
}

static_assert([] {
  for (const SettingInfo& info : kSettingTable) {
    if (&InfoOf(info.id) != &info) return false;
  }
  return true;
}());

}  // namespace ble
