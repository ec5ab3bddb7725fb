#pragma once
// Names the compiler checks: the events and properties of controls, and the key codes, as the
// logic, the view and the skin engine use them. A misspelt name is then a build error, not an
// event that never runs.

#include <string_view>

namespace optera::forms {

namespace event {
inline constexpr std::string_view Click = "Click";
inline constexpr std::string_view DblClick = "DblClick";
inline constexpr std::string_view MouseDown = "MouseDown";
inline constexpr std::string_view MouseMove = "MouseMove";
inline constexpr std::string_view MouseUp = "MouseUp";
inline constexpr std::string_view KeyDown = "KeyDown";
inline constexpr std::string_view KeyUp = "KeyUp";
inline constexpr std::string_view ItemCheck = "ItemCheck";
inline constexpr std::string_view Change = "Change";
inline constexpr std::string_view Timer = "Timer";
inline constexpr std::string_view DragDrop = "DragDrop";
}  // namespace event

namespace property {
inline constexpr std::string_view Left = "Left";
inline constexpr std::string_view Top = "Top";
inline constexpr std::string_view Width = "Width";
inline constexpr std::string_view Height = "Height";
inline constexpr std::string_view Visible = "Visible";
inline constexpr std::string_view Enabled = "Enabled";
inline constexpr std::string_view Caption = "Caption";
inline constexpr std::string_view Text = "Text";
inline constexpr std::string_view Value = "Value";
inline constexpr std::string_view ForeColor = "ForeColor";
inline constexpr std::string_view BackColor = "BackColor";
inline constexpr std::string_view BackStyle = "BackStyle";
inline constexpr std::string_view Picture = "Picture";
inline constexpr std::string_view ToolTipText = "ToolTipText";
inline constexpr std::string_view Interval = "Interval";
inline constexpr std::string_view Locked = "Locked";
inline constexpr std::string_view MultiLine = "MultiLine";
inline constexpr std::string_view Checkboxes = "Checkboxes";
inline constexpr std::string_view Tag = "Tag";
inline constexpr std::string_view DragMode = "DragMode";
inline constexpr std::string_view MousePointer = "MousePointer";
inline constexpr std::string_view MouseIcon = "MouseIcon";
inline constexpr std::string_view Font = "Font";
inline constexpr std::string_view FontSize = "FontSize";
inline constexpr std::string_view FontBold = "FontBold";
inline constexpr std::string_view FontItalic = "FontItalic";
inline constexpr std::string_view Stretch = "Stretch";
inline constexpr std::string_view Alignment = "Alignment";
inline constexpr std::string_view View = "View";
inline constexpr std::string_view ListIndex = "ListIndex";
}  // namespace property

// The fields of a list line, as a LineChanged notification names them.
namespace line_field {
inline constexpr std::string_view Text = "Text";
inline constexpr std::string_view ForeColor = "ForeColor";
inline constexpr std::string_view Bold = "Bold";
inline constexpr std::string_view Checked = "Checked";
}  // namespace line_field

// Key codes as the toolkit numbers them.
namespace key {
inline constexpr int Up = 38;
inline constexpr int Down = 40;
}  // namespace key

}  // namespace optera::forms
