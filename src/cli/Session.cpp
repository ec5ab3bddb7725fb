#include "cli/Session.h"

#include <cstdlib>
#include <iostream>
#include <system_error>

namespace optera::cli {

namespace {

std::filesystem::path FromEnvironment(const char* name) {
    const char* value = std::getenv(name);
    return value && *value ? std::filesystem::path(value) : std::filesystem::path();
}

}  // namespace

std::filesystem::path ResolveHome(const SessionOptions& options) {
    if (!options.home.empty()) return options.home;
    if (auto home = FromEnvironment("OPTERA_HOME"); !home.empty()) return home;
    std::error_code ignored;
    if (!options.executableFolder.empty() &&
        std::filesystem::exists(options.executableFolder / "Optera.ini", ignored))
        return options.executableFolder;
    if (auto data = FromEnvironment("XDG_DATA_HOME"); !data.empty()) return data / "optera";
    return FromEnvironment("HOME") / ".local" / "share" / "optera";
}

Session::Session(const std::filesystem::path& prefix, std::string programFolder)
    : wine_(prefix),
      profile_(wine_.files()),
      programFolder_(std::move(programFolder)),
      prompts_(std::cerr),
      registry_(wine_.registry(), prompts_, &wine_.files()),
      reader_({wine_.machine(), profile_, registry_, programFolder_}, recipeState_) {}

std::unique_ptr<Session> Session::Open(const SessionOptions& options, std::string& error) {
    std::error_code ec;
    std::filesystem::path home = std::filesystem::absolute(ResolveHome(options), ec);
    if (ec || !std::filesystem::is_directory(home, ec)) {
        error = "the program folder " + home.string() + " does not exist";
        return nullptr;
    }
    std::filesystem::path prefix =
        options.prefix.empty() ? platform::WineMachine::DefaultPrefix() : options.prefix;
    prefix = std::filesystem::absolute(prefix, ec);
    auto folder =
        platform::WineFileSystem(prefix).ToWindowsPath(std::filesystem::canonical(home, ec));
    if (!folder) {
        error = "the program folder " + home.string() + " is on no drive of the prefix";
        return nullptr;
    }
    std::string programFolder = *folder;
    while (programFolder.size() > 3 && programFolder.back() == '\\') programFolder.pop_back();
    return std::unique_ptr<Session>(new Session(prefix, std::move(programFolder)));
}

std::string Session::HostPathOf(const std::string& windowsPath) {
    auto host = wine_.files().ToHostPath(windowsPath);
    return host ? host->string() : std::string();
}

}  // namespace optera::cli
