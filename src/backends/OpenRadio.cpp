#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <variant>

#include "backends/UnavailableRadio.h"
#include "backends/simulated/ScenarioLoader.h"
#include "backends/simulated/SimulatedRadio.h"
#include "platform/Radio.h"
#include "platform/SystemServices.h"
#ifdef CORVANEBLE_LINUX_RADIO
#include "backends/linux/LinuxRadio.h"
#endif

namespace ble {
namespace {

OpenedRadio OnSystemTime(std::shared_ptr<Radio> radio) {
  return {std::move(radio), SystemClock(), SystemPump()};
}

OpenedRadio Unavailable(std::errc result, const std::string& text) {
  return OnSystemTime(MakeUnavailableRadio(static_cast<std::int32_t>(result), text));
}

/// The radio of the machine itself; `adapter` is empty for whichever is best.
OpenedRadio OpenMachineRadio([[maybe_unused]] const std::string& adapter,
                             [[maybe_unused]] bool askedFor) {
#ifdef CORVANEBLE_LINUX_RADIO
  using linux_radio::Absence;
  try {
    return linux_radio::OpenLinuxRadio(adapter, askedFor ? Absence::Fails : Absence::IsNoAdapter);
  } catch (const PlatformFailure& failure) {
    return OnSystemTime(MakeUnavailableRadio(failure.Result(), failure.what()));
  }
#else
  return OnSystemTime(MakeAbsentRadio());
#endif
}

OpenedRadio OpenScenario(simulated::ScenarioResult result) {
  if (const auto* const error = std::get_if<std::string>(&result))
    return Unavailable(std::errc::invalid_argument, *error);
  try {
    return simulated::OpenSimulatedRadio(std::get<simulated::Scenario>(std::move(result)));
  } catch (const PlatformFailure& failure) {
    return OnSystemTime(MakeUnavailableRadio(failure.Result(), failure.what()));
  }
}

}  // namespace

OpenedRadio OpenRadio(std::string_view name) {
  const std::size_t colon = name.find(':');
  const std::string_view backend = name.substr(0, colon);
  const std::string_view argument =
      colon == std::string_view::npos ? std::string_view() : name.substr(colon + 1);
  if (name.empty() || name == "auto") return OpenMachineRadio({}, false);
  if (name == "simulated") return OpenScenario(simulated::BuiltInScene());
  if (backend == "simulated" && argument.empty())
    return Unavailable(std::errc::invalid_argument,
                       "The radio \"simulated:\" lacks the name of a scenario file.");
  if (backend == "simulated")
    return OpenScenario(simulated::LoadScenario(
        std::filesystem::path(std::u8string(argument.begin(), argument.end()))));
#ifdef CORVANEBLE_LINUX_RADIO
  if (backend == "linux") return OpenMachineRadio(std::string(argument), true);
#endif
  if (backend == "linux" || backend == "windows")
    return Unavailable(std::errc::no_such_device,
                       "This build has no radio \"" + std::string(backend) + "\".");
  return Unavailable(std::errc::invalid_argument,
                     "There is no radio with the name \"" + std::string(name) + "\".");
}

std::string RadioNameFromEnvironment() {
  std::string name = EnvironmentVariable("CORVANEBLE_RADIO");
  return name.empty() ? "auto" : name;
}

}  // namespace ble
