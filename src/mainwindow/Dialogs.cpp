#include "mainwindow/Dialogs.h"
#include "forms/Names.h"

#include "text/Split.h"

namespace optera::mainwindow {

namespace {

constexpr forms::Colour kWhite = 0xFFFFFF;
constexpr forms::Colour kButtonFace = 0x8000000F;  // the system's button face colour

// The text behind the first "=" of a line, up to a second one; nullopt for a line without one.
std::optional<std::string> SecondPiece(const std::string& line) {
    std::vector<std::string> pieces = text::Split(line, "=");
    if (pieces.size() < 2) return std::nullopt;
    return pieces[1];
}

void AppendHowTo(std::string& text, const std::vector<std::string>& howTo) {
    for (const std::string& line : howTo)
        if (auto piece = SecondPiece(line)) text += *piece + "\r\n";
}

}  // namespace

ConfirmDialog::ConfirmDialog() : form_("Confirm") {
    form_.SetVisible(false);
    form_.Add("Label", "Label1");
    form_.Add("Label", "Label2", 0);
    form_.Add("TextBox", "Text1");
    form_.Add("Label", "Label2", 1);
    const std::pair<const char*, const char*> buttons[] = {
        {"YesButton", "YES"}, {"NoButton", "NO"}, {"DetailButton", "DETAILS"}};
    for (const auto& [name, caption] : buttons) {
        forms::Control& button = form_.Add("CommandButton", name);
        button.SetCaption(caption);
        button.Set(forms::property::Width, 1095.0);
        button.Set(forms::property::Height, 375.0);
    }
    Label2(1).Set(forms::property::Top, 1560.0);
    Label2(1).Set(forms::property::Height, 195.0);
}

void PrepareConfirm(ConfirmDialog& dialog, const recipes::GameRecord& game, double left,
                    double top) {
    dialog.Label1().SetCaption(
        "Your game configuration file(s) are about to be modified. Clicking the 'DETAILS' "
        "button below provides technical information on the exact changes that will be done. "
        "Click 'YES' to proceed or 'NO' to cancel.");
    if (!game.LatestPatchReq.empty()) {
        dialog.Label2(0).SetCaption("Download the latest game patches: ");
        dialog.Text1().SetText(game.LatestPatchReq);
        dialog.Text1().SetVisible(true);
    } else {
        dialog.Label2(0).SetCaption("");
        dialog.Text1().SetText("");
        dialog.Text1().SetVisible(false);
    }
    forms::Control& note = dialog.Label2(1);
    note.SetCaption(game.Msg1.empty() ? std::string() : "Please Note: " + game.Msg1);
    note.SetBackColor(game.Msg1.empty() ? kButtonFace : kWhite);

    const double c = game.LatestPatchReq.size() > 65 ? game.LatestPatchReq.size() : 65;
    forms::Form& form = dialog.Form();
    form.Set(forms::property::Left, left);
    form.Set(forms::property::Top, top);
    form.Set(forms::property::Width, c * 95);
    for (forms::Control* control : {&dialog.Label2(0), &dialog.Label2(1), &dialog.Text1()})
        control->Set(forms::property::Width, c * 90);
    const double w = form.Width();
    dialog.YesButton().Set(forms::property::Left, w / 2 - 1830);
    dialog.NoButton().Set(forms::property::Left, w / 2 - 600);
    dialog.DetailButton().Set(forms::property::Left, w / 2 + 630);
    dialog.Label1().Set(forms::property::Left, w / 2 - 2000);
    double n = 0;
    if (game.Msg1.size() > c) {
        n = static_cast<double>(static_cast<long>(game.Msg1.size() / c)) + 1;
        note.Set(forms::property::Height, n * 195);
    }
    const double buttonsTop = note.Top() + n * 195 + 375;
    for (forms::Control* button : {&dialog.YesButton(), &dialog.NoButton(), &dialog.DetailButton()})
        button->Set(forms::property::Top, buttonsTop);
    form.Set(forms::property::Height, dialog.YesButton().Top() + dialog.YesButton().Height() + 550);
}

std::string ConfirmCaption(std::int16_t width, std::int16_t height) {
    return "Proceed with  " + std::to_string(width) + " x " + std::to_string(height) +
           "  optimizations?";
}

std::optional<Report> BuildReport(std::string_view mode, const recipes::GameRecord& game,
                                  const std::vector<std::string>& nativeMessages) {
    Report report;
    std::string& text = report.text;
    if (mode == "Modify") {
        report.caption = "Game Configuration Modifications";
        text = "The following game configuration modification(s) will be done:\r\n";
        if (!game.ShortcutParameters.empty())
            text += "\r\n\tDesktop Shortcut Icon - Launch Parameter\r\n\r\n" +
                    game.ShortcutParameters + "\r\n";
        for (const recipes::CfgEntry& entry : game.CfgFiles) {
            if (!recipes::HasLines(entry.Lines)) continue;
            text += "\r\n\t'" + entry.Path + "'\r\n\r\n";
            for (const std::string& line : entry.Lines) text += line + "\r\n";
        }
        if (recipes::HasLines(game.Registry)) {
            text += "\r\n\r\n\tGame Registry Files\r\n\r\n";
            for (const std::string& line : game.Registry) text += line + "\r\n";
        }
        text += "\r\n\r\n\r\n";
    } else if (mode == "HowTo") {
        report.caption = "How To information";
        text = "'HOW TO' configuration info for:  \r\n\r\n\t'" + game.Name + "'\r\n\r\n";
        AppendHowTo(text, game.HowTo);
    } else if (mode == "Native") {
        report.caption = "Native Support Information";
        text = "\r\n\t" + game.Name + "  (has native support)\r\n\r\n";
        for (const std::string& message : nativeMessages) text += message + "\r\n\r\n";
        AppendHowTo(text, game.HowTo);
    } else {
        return std::nullopt;
    }
    return report;
}

ReportDialog::ReportDialog() : form_("ModifcationInfo") {
    form_.SetVisible(false);
    forms::Control& text = form_.Add("TextBox", "Text1");
    text.Set(forms::property::MultiLine, true);
    text.Set(forms::property::Locked, true);
}

void ReportDialog::Load(std::string_view mode, const recipes::GameRecord& game,
                        const std::vector<std::string>& nativeMessages) {
    if (auto report = BuildReport(mode, game, nativeMessages)) {
        form_.SetCaption(report->caption);
        Text1().SetText(report->text);
    }
}

}  // namespace optera::mainwindow
