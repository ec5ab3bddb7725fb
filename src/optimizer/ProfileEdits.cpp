#include "optimizer/ProfileEdits.h"

#include "text/Split.h"

namespace optera::optimizer {

namespace {

constexpr std::string_view kAnySection = "*";

struct ProfileLine {
    std::string section;  // "*" for any section that has the key
    std::string key;
    std::string value;
};

std::optional<ProfileLine> ParseProfileLine(const std::string& line) {
    std::vector<std::string> pieces = text::Split(line, "=");
    if (pieces.size() < 2) return std::nullopt;
    ProfileLine parsed{std::string(kAnySection), pieces[0], pieces[1]};
    if (pieces[0].find(',') != std::string::npos) {
        std::vector<std::string> names = text::Split(pieces[0], ",");
        parsed.section = names[0];
        parsed.key = names[1];
    }
    return parsed;
}

// Writes the value into every section that the line stands for; true when there was one.
bool WriteWhereItBelongs(services::cPrivateProfile& profile, std::string_view path,
                         const ProfileLine& line, const std::vector<std::string>& sections) {
    const bool anySection = line.section == kAnySection;
    bool hit = false;
    for (const std::string& name : sections) {
        if (name.empty()) continue;  // a file without sections lists one empty name
        // The partial match respects letter case, unlike the exact read before it: "disp" does
        // not stand for [Display].
        bool belongs = anySection ? !profile.GetIniStringValue(path, name, line.key).empty()
                                  : name.find(line.section) != std::string::npos;
        if (!belongs) continue;
        profile.SetIniStringValue(path, name, line.key, line.value);
        hit = true;
    }
    return hit;
}

}  // namespace

void ApplyPrivProfile(services::cPrivateProfile& profile, std::string_view path,
                      const std::vector<std::string>& lines) {
    for (const std::string& text : lines) {
        auto line = ParseProfileLine(text);
        if (!line) continue;
        const bool anySection = line->section == kAnySection;
        // A section named exactly that already holds a value is written directly; otherwise
        // the sections are walked for partial names, or for the key.
        std::vector<std::string> sections{""};
        bool hit = false;
        if (anySection || profile.GetIniStringValue(path, line->section, line->key).empty()) {
            sections = profile.GetIniSectionNames(path).value_or(std::vector<std::string>{""});
            hit = WriteWhereItBelongs(profile, path, *line, sections);
        }
        if (hit) continue;
        if (!anySection) {
            profile.SetIniStringValue(path, line->section, line->key, line->value);
        } else if (!sections.back().empty()) {
            // No section holds the key: it joins the file's last section. A file without any
            // section gets nothing, since there is no section to put the key in.
            profile.SetIniStringValue(path, sections.back(), line->key, line->value);
        }
    }
}

}  // namespace optera::optimizer
