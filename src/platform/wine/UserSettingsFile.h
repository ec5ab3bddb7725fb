#pragma once
// Per-user settings kept in a text file of lines `app\section\key=value`. Every read looks at
// the file as it is now and every change rewrites it in one step, so that several Optera
// processes share the settings and a crash leaves the old file or the new one. Names are
// matched without regard to case. In names and values, '%', carriage return and line feed are
// written as %25, %0D and %0A (and in names '\' and '=' as %5C and %3D).

#include <filesystem>
#include <string>
#include <string_view>

#include "platform/UserSettings.h"
#include "platform/wine/WineEnvironment.h"

namespace optera::platform {

class UserSettingsFile : public UserSettings {
  public:
    explicit UserSettingsFile(std::filesystem::path file = DefaultPath(ProcessEnvironment()));

    // $XDG_CONFIG_HOME/optera/user-settings.ini, or ~/.config/optera/user-settings.ini when
    // XDG_CONFIG_HOME is not an absolute path.
    static std::filesystem::path DefaultPath(const EnvironmentVariables& host);

    const std::filesystem::path& file() const { return file_; }

    std::string Get(std::string_view app, std::string_view section, std::string_view key,
                    std::string_view fallback) const override;
    // Creates the file's folder when needed.
    bool Set(std::string_view app, std::string_view section, std::string_view key,
             std::string_view value) override;

  private:
    std::filesystem::path file_;
};

}  // namespace optera::platform
