#pragma once

#include <string>
#include <string_view>

namespace optera::platform {

// Small per-user settings that outlive the process, by application, section and key.
class UserSettings {
  public:
    virtual ~UserSettings() = default;
    virtual std::string Get(std::string_view app, std::string_view section, std::string_view key,
                            std::string_view fallback) const = 0;
    virtual bool Set(std::string_view app, std::string_view section, std::string_view key,
                     std::string_view value) = 0;
};

}  // namespace optera::platform
