#pragma once
// The main window GUI as the logic sees it: its controls on the forms model and the values the
// window's parts share. The skin places and colours the controls; a view draws them.

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "forms/Form.h"

namespace optera::mainwindow {

// The image buttons, numbered as the arrays BtnImageBox and BtnLabel and the skin's buttons.
namespace button {
inline constexpr int Optimize = 0;
inline constexpr int Restore = 1;
inline constexpr int Browse = 2;
inline constexpr int Search = 3;
inline constexpr int View = 4;
inline constexpr int HowTo = 5;
inline constexpr int VisitWeb = 6;
inline constexpr int Close = 7;
inline constexpr int Count = 8;
}  // namespace button

// The skin section of each button, by index.
inline constexpr std::array<std::string_view, button::Count> kButtonSections = {
    "OPTIMIZE_BUTTON", "RESTORE_BUTTON", "BROWSE_BUTTON",   "SEARCH_BUTTON",
    "VIEW_BUTTON",     "HOWTO_BUTTON",   "VISITWEB_BUTTON", "CLOSE_BUTTON"};

// One image button of the current skin: what the press logic needs to show it at rest and
// pressed. Lengths are twips; colours 32-bit values.
struct SkinButtonRecord {
    std::string Caption;
    std::string Font;
    std::int32_t FontSize = 0;
    std::int32_t FontUpColor = 0;
    std::int32_t FontDnColor = 0;
    std::int32_t Left = 0;
    std::string MouseCursor;
    std::string PictureDn;
    std::string PictureUp;
    std::int32_t Top = 0;
    std::int32_t CaptionOffsetX = 0;  // the caption's place relative to the image
    std::int32_t CaptionOffsetY = 0;
    std::int32_t Visible = 1;
};

class MainWindow {
  public:
    MainWindow();
    MainWindow(const MainWindow&) = delete;
    MainWindow& operator=(const MainWindow&) = delete;

    forms::Form& GUI() { return form_; }

    forms::Control& GameList() { return Named("GameList"); }
    forms::Control& ResListBox() { return Named("ResListBox"); }
    forms::Control& StatusLbl() { return Named("StatusLbl"); }
    forms::Control& PathLbl() { return Named("PathLbl"); }
    forms::Control& BtnImageBox(int index) { return Named("BtnImageBox", index); }
    forms::Control& BtnLabel(int index) { return Named("BtnLabel", index); }
    forms::Control& TitleLabel() { return Named("TitleLabel"); }
    forms::Control& DragFormBar() { return Named("DragFormBar"); }
    forms::Control& Logo() { return Named("Logo"); }
    forms::Control& BackGroundImage() { return Named("BackGroundImage"); }
    forms::Control& Timer1() { return Named("Timer1"); }
    // Command1 to Command4.
    forms::Control& Command(int number);

    // The text of the GameList line last selected.
    std::string CurrentGameText;
    // The game-state colours the skin gives; their meaning is the game's class.
    forms::Colour GO_Color = 0;     // optimized
    forms::Colour GCNF_Color = 0;   // configuration file missing
    forms::Colour GNO_Color = 0;    // not optimized
    forms::Colour GND_Color = 0;    // not detected
    forms::Colour GHNTS_Color = 0;  // native support
    // Which view of GameList is on: every game, or the detected ones.
    bool ShowAllGames = false;
    // Whether the skin shows the Browse and Search buttons.
    bool BrowseButtonWanted = true;
    bool SearchButtonWanted = true;
    // The resolutions this machine offers and the default, as "<width>x<height>" texts.
    std::vector<std::string> Resolutions;
    std::string DefaultResolution;
    // The settings' NATIVEMSG lines in file order; one empty line when there are none.
    std::vector<std::string> NativeMessages{""};
    // The skin's image buttons, by button index.
    std::array<SkinButtonRecord, button::Count> SkinButtons;

  private:
    forms::Control& Named(std::string_view name, std::optional<int> index = std::nullopt);

    forms::Form form_;
};

// What SetButtonState changes.
namespace button_state {
inline constexpr std::int32_t Enabled = 0;
inline constexpr std::int32_t Visible = 1;
}  // namespace button_state

// Sets Enabled or Visible (by `kind`, a button_state) of BtnImageBox(index) and BtnLabel(index)
// together; any other kind, or an index without a button, changes nothing.
void SetButtonState(forms::Form& form, std::int32_t index, std::int32_t kind, bool value);

}  // namespace optera::mainwindow
