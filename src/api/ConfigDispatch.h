#pragma once

#include <string>
#include <string_view>

#include "frame/ComponentBase.h"
#include "frame/ConfigItem.h"
#include "radio/Connection.h"
#include "radio/Scanner.h"

namespace ble {

/// Reads and writes the settings that have no property of their own. Any thread.
class ConfigDispatch {
 public:
  struct Parts {
    ComponentBase& base;
    const Scanner& scanner;
    const Connection& connection;
  };

  explicit ConfigDispatch(const Parts& parts) : parts_(parts) {}

  /// Applies one configuration text; a read replaces `answer` with the value, everything else
  /// empties it. The text may have no data pointer.
  Status Config(std::string_view text, std::string& answer);

 private:
  Status ReadAdvertisement(const ConfigItem& item, std::string& answer);
  Status ReadSection(const ConfigItem& item, const HeldAdvertisement& held, std::string& answer);
  Status ReadServiceData(const ConfigItem& item, const HeldAdvertisement& held,
                         std::string& answer);
  bool ApplyStored(SettingLevel level, const ConfigItem& item, std::string& answer);

  Parts parts_;
};

}  // namespace ble
