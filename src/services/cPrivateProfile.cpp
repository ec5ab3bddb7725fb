#include "services/cPrivateProfile.h"

#include <cstdint>
#include <functional>

#include "platform/FileSystem.h"
#include "text/NoCase.h"
#include "text/Split.h"

namespace optera::services {

namespace {

// The result of the growing-buffer loop: the last buffer and the count the last call returned.
struct Filled {
    std::string buffer;
    std::int16_t count = 0;
};

// Calls a profile function with a buffer that doubles from 510 characters for as long as the
// function reports a full buffer (count = size - 2). The count is a signed 16-bit number, so a
// count above 32,767 is an overflow and the read fails. `stopOnEmpty` ends the loop as soon as
// a call brings back nothing.
std::optional<Filled> GrowingBufferRead(const std::function<std::uint32_t(std::string&)>& call,
                                        const std::function<bool(const Filled&)>& stopOnEmpty) {
    Filled filled{std::string(255, '\0'), 0};
    while (filled.count == 0 ||
           filled.count == static_cast<std::int64_t>(filled.buffer.size()) - 2) {
        filled.buffer.assign(filled.buffer.size() * 2, '\0');
        std::uint32_t count = call(filled.buffer);
        if (count > 32767) return std::nullopt;
        filled.count = static_cast<std::int16_t>(count);
        if (stopOnEmpty(filled)) break;
    }
    return filled;
}

bool NothingCameBack(const Filled& filled) {
    return TrimAtNull(filled.buffer).empty();
}

std::vector<std::string> SplitAtNul(const Filled& filled) {
    return text::Split(std::string_view(filled.buffer).substr(0, filled.count),
                       std::string(1, '\0'));
}

}  // namespace

std::string_view TrimAtNull(std::string_view buffer) {
    return buffer.substr(0, buffer.find('\0'));
}

std::vector<std::string> cPrivateProfile::GetListOfFiles(std::string_view szDirPath) const {
    std::vector<std::string> names = platform::FindNames(files_, text::ToLower(szDirPath), false);
    if (names.empty()) names.emplace_back();
    return names;
}

std::optional<std::vector<std::string>> cPrivateProfile::GetIniSectionNames(
    std::string_view szIniPath) const {
    auto filled = GrowingBufferRead(
        [&](std::string& buffer) { return api_.GetPrivateProfileSectionNamesA(buffer, szIniPath); },
        [](const Filled& f) { return f.count == 0; });
    if (!filled) return std::nullopt;
    if (filled->count == 0) return std::vector<std::string>{""};
    std::vector<std::string> names = SplitAtNul(*filled);
    names.pop_back();
    return names;
}

std::optional<std::vector<std::string>> cPrivateProfile::GetIniSection(
    std::string_view szIniPath, std::string_view szSectionName) const {
    auto filled = GrowingBufferRead(
        [&](std::string& buffer) {
            return api_.GetPrivateProfileSectionA(szSectionName, buffer, szIniPath);
        },
        NothingCameBack);
    if (!filled) return std::nullopt;
    if (NothingCameBack(*filled)) return std::vector<std::string>{""};
    std::vector<std::string> lines = SplitAtNul(*filled);
    lines.pop_back();
    while (lines.size() > 1 && lines.back().empty()) lines.pop_back();
    return lines;
}

std::string cPrivateProfile::GetIniStringValue(std::string_view szIniPath,
                                               std::string_view szSectionName,
                                               std::string_view szSectionNameValue) const {
    // A value is at most 509 characters (one call of 510 minus its NUL), so the count never
    // overflows here.
    auto filled = GrowingBufferRead(
        [&](std::string& buffer) {
            return api_.GetPrivateProfileStringA(szSectionName, szSectionNameValue, "", buffer,
                                                 szIniPath);
        },
        NothingCameBack);
    if (!filled || NothingCameBack(*filled)) return "";
    return filled->buffer.substr(0, filled->count);
}

bool cPrivateProfile::SetIniStringValue(std::string_view szIniPath, std::string_view szSectionName,
                                        std::string_view szSectionNameValue,
                                        std::string_view szSectionValue) {
    return api_.WritePrivateProfileStringA(szSectionName, szSectionNameValue, szSectionValue,
                                           szIniPath);
}

}  // namespace optera::services
