// The resolution list: the candidates of Optera.ini that the display can show, cut at the video
// card's top limit (Resolutions), and the range a game's recipe allows (the rows shown).

#include <utility>

#include "mainwindow/ExchangeSort.h"
#include "mainwindow/MainWindowLogic.h"
#include "text/NoCase.h"
#include "text/Number.h"
#include "text/Split.h"

namespace optera::mainwindow {

namespace {

// The wide modes that stay in the list whether or not the display reports them.
constexpr std::string_view kFixedResolutions[] = {"1920x480", "2400x600", "3072x768", "3840x1024"};

std::string IdBehind(std::string_view id, std::string_view mark, std::size_t length) {
    std::size_t at = id.find(mark);
    if (at == std::string_view::npos) return "";
    return std::string(id.substr(at + mark.size(), length));
}

// The two halves of a "<width>x<height>" text; a row written with a capital X counts the same.
std::vector<std::string> Halves(std::string_view resolution) {
    return text::Split(text::ToLower(resolution), "x");
}

// Width and height of a "<width>x<height>" text as numbers.
std::pair<double, double> Dimensions(std::string_view resolution) {
    std::vector<std::string> halves = Halves(resolution);
    return {text::LeadingNumber(text::TrimBlanks(text::PieceOr(halves, 0))),
            text::LeadingNumber(text::TrimBlanks(text::PieceOr(halves, 1)))};
}

// At or beyond the limit: a greater width, or the same width and at least the height.
bool Reaches(std::pair<double, double> size, std::pair<double, double> limit) {
    return size.first > limit.first || (size.first == limit.first && size.second >= limit.second);
}

}  // namespace

std::vector<VideoCardIds> ReadVideoCardIds(const platform::Display& display) {
    std::vector<VideoCardIds> cards;
    for (const std::string& id : display.VideoControllerIds()) {
        if (id.empty() || id.find("\\VEN_") == std::string::npos) continue;
        cards.push_back(
            {IdBehind(id, "\\VEN_", 4), IdBehind(id, "&DEV_", 4), IdBehind(id, "&SUBSYS_", 8)});
    }
    if (cards.empty()) cards.emplace_back();
    return cards;
}

std::vector<std::string> FilterByDisplayModes(services::cEnumDisplaySettings& settings,
                                              const std::vector<std::string>& candidates) {
    std::vector<std::string> result;
    auto modes = settings.GetDisplayModeList(16, 1).value_or(std::vector<std::string>{});
    for (const std::string& mode : modes) {
        std::vector<std::string> fields = text::Split(text::TrimBlanks(mode), ", ");
        for (const std::string& candidate : candidates) {
            std::string lower = text::ToLower(candidate);
            std::vector<std::string> halves = text::Split(lower, "x");
            bool passes = (text::PieceOr(halves, 0) == text::PieceOr(fields, 0) &&
                           text::PieceOr(halves, 1) == text::PieceOr(fields, 1));
            for (std::string_view fixed : kFixedResolutions) passes = passes || lower == fixed;
            if (!passes) continue;
            bool contained = false;
            for (const std::string& kept : result)
                contained = contained || kept.find(candidate) != std::string::npos;
            if (!contained) result.push_back(candidate);
        }
    }
    if (result.empty()) result.emplace_back();
    return result;
}

void SortResolutions(std::vector<std::string>& list) {
    // By width, then height; rows such as "1024x768" and "1024 x 768" keep the exchange sort's
    // order of ties.
    ExchangeSortOrder(list, [](const std::string& row) { return Dimensions(row); });
}

void MainWindowLogic::BuildResolutionList() {
    const std::string ini = OpteraIni();
    gui_.Resolutions.clear();
    const std::vector<VideoCardIds> cards = ReadVideoCardIds(services_.machine.display);

    std::optional<std::string> limit;
    bool final = false;
    auto limits = services_.profile.GetIniSection(ini, "MAXVIDEOCARDRES")
                      .value_or(std::vector<std::string>{});
    for (const std::string& line : limits) {
        std::vector<std::string> pieces = text::Split(line, "=");
        const std::string key = text::ToUpper(text::PieceOr(pieces, 0));
        for (const VideoCardIds& card : cards) {
            const std::string ids[] = {card.Vendor, card.Vendor + "." + card.Device,
                                       card.Device + "." + card.Vendor, card.Subsystem};
            bool match = false;
            for (const std::string& id : ids) match = match || key == text::ToUpper(id);
            if (!match) continue;
            limit = text::PieceOr(pieces, 1);
            // Anything more precise than a vendor id settles the limit.
            if (key.size() > 4) final = true;
            if (final) break;
        }
        if (final) break;
    }

    forms::Control& rows = gui_.ResListBox();
    rows.ClearItems();
    std::vector<std::string> candidates =
        services_.profile.GetIniSection(ini, "RESOLUTIONS").value_or(std::vector<std::string>{});
    std::vector<std::string> shown = FilterByDisplayModes(displaySettings_, candidates);
    SortResolutions(shown);
    for (const std::string& resolution : shown) {
        rows.AddItem(resolution);
        gui_.Resolutions.push_back(resolution);
        if (limit && text::EqualsNoCase(resolution, *limit)) break;
    }

    gui_.DefaultResolution = services_.profile.GetIniStringValue(ini, "DEFAULTRES", "Default");
    if (gui_.DefaultResolution.empty()) gui_.DefaultResolution = "0";
    int row = rows.ItemCount();
    for (int i = 1; i <= rows.ItemCount(); ++i)
        if (text::EqualsNoCase(rows.Item(i)->Text, gui_.DefaultResolution)) {
            row = i;
            break;
        }
    rows.Select(row);
}

std::int16_t MainWindowLogic::RestrictResolutionList(std::string_view wanted) {
    forms::Control& rows = gui_.ResListBox();
    if (text::ToLower(wanted) == "none") {
        rows.ClearItems();
        return 1;
    }
    std::string target(wanted);
    if (target.empty())
        if (const forms::ListItem* row = rows.SelectedItem()) target = row->Text;

    const std::string recipe = RecipePath(SelectedLineText());
    std::string min = services_.profile.GetIniStringValue(recipe, "GAMERESOLUTIONS", "Min");
    std::string max = services_.profile.GetIniStringValue(recipe, "GAMERESOLUTIONS", "Max");
    const std::vector<std::string>& all = gui_.Resolutions;
    if (!min.empty() && max.empty() && !all.empty()) max = all.back();
    if (min.empty() && !max.empty() && !all.empty()) min = all.front();

    rows.ClearItems();
    std::vector<std::string> noted;
    if (min.empty() && max.empty()) {
        noted = all;
        for (const std::string& resolution : all) rows.AddItem(resolution);
    } else {
        for (const std::string& resolution : all) {
            if (!Reaches(Dimensions(resolution), Dimensions(min))) continue;
            rows.AddItem(resolution);
            noted.push_back(resolution);
            if (Reaches(Dimensions(resolution), Dimensions(max))) break;
        }
    }
    for (std::size_t i = 0; i < noted.size(); ++i)
        if (text::EqualsNoCase(noted[i], target)) return static_cast<std::int16_t>(i + 1);
    return static_cast<std::int16_t>(rows.ItemCount());
}

void MainWindowLogic::ResolutionSelected() {
    const forms::ListItem* row = gui_.ResListBox().SelectedItem();
    if (!row) return;
    std::vector<std::string> halves = Halves(row->Text);
    if (halves.size() < 2) return;
    auto width = text::RoundToInt16(text::LeadingNumber(text::TrimBlanks(halves[0])));
    if (!width) return;
    state_.Selected.SelectedWidth = *width;
    auto height = text::RoundToInt16(text::LeadingNumber(text::TrimBlanks(halves[1])));
    if (!height) return;
    state_.Selected.SelectedHeight = *height;
    if (auto line = SelectedLine()) state_.CurrentGame = reader_.ReadRecipe(line->Text);
}

}  // namespace optera::mainwindow
