#include "forms/KindProperties.h"

#include "text/NoCase.h"

namespace optera::forms {

namespace {

// The toolkit's own colours: window text black, the face of buttons and labels light grey.
constexpr std::int32_t kBlack = 0x000000;
constexpr std::int32_t kFace = 0xC0C0C0;
constexpr std::int32_t kWhite = 0xFFFFFF;

void Append(PropertyList& to, const PropertyList& from) {
    to.insert(to.end(), from.begin(), from.end());
}

PropertyList Placed() {
    return {{"Left", 0.0},
            {"Top", 0.0},
            {"Width", 0.0},
            {"Height", 0.0},
            {"Visible", true},
            {"Enabled", true},
            {"Tag", std::string()},
            {"ToolTipText", std::string()},
            {"DragMode", 0},
            {"MousePointer", 0},
            {"MouseIcon", std::string()}};
}

PropertyList Font() {
    return {{"Font", std::string("MS Sans Serif")},
            {"FontSize", 8.25},
            {"FontBold", false},
            {"FontItalic", false}};
}

PropertyList Coloured(std::int32_t back) {
    return {{"ForeColor", kBlack}, {"BackColor", back}};
}

}  // namespace

PropertyList PropertiesOfKind(std::string_view kind) {
    using text::EqualsNoCase;
    if (EqualsNoCase(kind, "Timer"))
        return {{"Interval", 0}, {"Enabled", true}, {"Tag", std::string()}};

    PropertyList list = Placed();
    if (EqualsNoCase(kind, "Image")) {
        Append(list, {{"Picture", std::string()}, {"Stretch", false}});
    } else if (EqualsNoCase(kind, "Label")) {
        Append(list, {{"Caption", std::string()}, {"BackStyle", 1}, {"Alignment", 0}});
        Append(list, Coloured(kFace));
        Append(list, Font());
    } else if (EqualsNoCase(kind, "CommandButton")) {
        Append(list, {{"Caption", std::string()},
                      {"BackColor", kFace},
                      {"Picture", std::string()},
                      {"DownPicture", std::string()},
                      {"Style", 0}});
        Append(list, Font());
    } else if (EqualsNoCase(kind, "TextBox")) {
        Append(list, {{"Text", std::string()}, {"Locked", false}, {"MultiLine", false}});
        Append(list, Coloured(kWhite));
        Append(list, Font());
    } else if (EqualsNoCase(kind, "CheckBox")) {
        Append(list, {{"Caption", std::string()}, {"Value", 0}});
        Append(list, Coloured(kFace));
        Append(list, Font());
    } else if (EqualsNoCase(kind, "ListView")) {
        Append(list, {{"Checkboxes", false}, {"View", 0}});
        Append(list, Coloured(kWhite));
        Append(list, Font());
    } else if (EqualsNoCase(kind, "ListBox")) {
        Append(list, {{"ListIndex", -1}});
        Append(list, Coloured(kWhite));
        Append(list, Font());
    } else if (EqualsNoCase(kind, "ComboBox")) {
        Append(list, {{"Text", std::string()}, {"ListIndex", -1}});
        Append(list, Coloured(kWhite));
        Append(list, Font());
    } else if (EqualsNoCase(kind, "Form")) {
        Append(list, {{"Caption", std::string()}, {"Picture", std::string()}});
        Append(list, Coloured(kFace));
        Append(list, Font());
    }
    return list;
}

std::string_view CanonicalProperty(std::string_view name) {
    static const std::pair<std::string_view, std::string_view> kAliases[] = {
        {"Font.Name", "Font"},     {"FontName", "Font"},          {"Font.Size", "FontSize"},
        {"Font.Bold", "FontBold"}, {"Font.Italic", "FontItalic"},
    };
    for (const auto& [alias, canonical] : kAliases)
        if (text::EqualsNoCase(name, alias)) return canonical;
    return name;
}

}  // namespace optera::forms
