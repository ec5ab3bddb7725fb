// Feeds arbitrary bytes to the profile engine as a file, reads everything back through
// cPrivateProfile, writes one entry, and checks what must always hold:
//  - a file that is only decoded and parsed encodes and serialises to the same bytes;
//  - a write changes no other section and the written value reads back;
//  - nothing crashes, hangs or reads out of bounds (the sanitizers watch).
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/fake/FakeFileSystem.h"
#include "services/ProfileDocument.h"
#include "services/ProfileFileText.h"
#include "services/cPrivateProfile.h"

using namespace optera;

namespace {

void Check(bool condition) {
    if (!condition) __builtin_trap();
}

// A value the engine stores and reads back unchanged: printable, no blanks at its ends.
std::string CleanValue(const std::string& bytes) {
    std::string value;
    for (char c : bytes.substr(0, 40))
        if (c > ' ' && c < 0x7F) value += c;
    return value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);

    const auto text = services::ProfileFileText::Decode(bytes);
    services::ProfileDocument doc = services::ProfileDocument::Parse(text.text());
    Check(text.Encode(doc.Serialize()) == bytes);

    platform::FakeFileSystem files;
    const std::string path = "C:\\fuzz.ini";
    files.PutFile(path, bytes);
    services::cPrivateProfile profile(files);
    auto names = profile.GetIniSectionNames(path);
    if (names) {
        for (const std::string& name : *names) {
            auto lines = profile.GetIniSection(path, name);
            if (!lines) continue;
            for (const std::string& line : *lines) {
                std::string key = line.substr(0, line.find('='));
                Check(profile.GetIniStringValue(path, name, key).size() <= 509);
            }
        }
    }

    const std::string value = CleanValue(bytes);
    if (profile.SetIniStringValue(path, "Fuzz", "Key", value)) {
        Check(
            profile.GetIniStringValue(path, "fuzz", "KEY") ==
            (value.size() >= 2 && (value[0] == '"' || value[0] == '\'') && value.back() == value[0]
                 ? value.substr(1, value.size() - 2)
                 : value.substr(0, 509)));
        auto after = services::ProfileDocument::Parse(
            services::ProfileFileText::Decode(*files.ReadAll(path)).text());
        for (const std::string& name : doc.SectionNames()) {
            if (optera::text::EqualsNoCase(name, "Fuzz")) continue;
            Check(after.SectionEntries(name) == doc.SectionEntries(name));
        }
    }
    return 0;
}
