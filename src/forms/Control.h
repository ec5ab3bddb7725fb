#pragma once
// A control of a form: a kind ("Label", "Image", "ListView", ...), a name, its place in a
// control array if it has one, and the properties its kind has, reached by name without regard
// to case. A property the kind does not have is a failure the caller sees (nullopt, false).
//
// Properties by kind (every kind but Timer also has Left, Top, Width, Height in twips, Visible,
// Enabled, Tag, ToolTipText, DragMode, MousePointer, MouseIcon):
//   Label          Caption ForeColor BackColor BackStyle Alignment + font
//   Image          Picture Stretch
//   CommandButton  Caption BackColor Picture DownPicture Style + font
//   TextBox        Text ForeColor BackColor Locked MultiLine + font
//   CheckBox       Caption Value ForeColor BackColor + font
//   ListView       ForeColor BackColor Checkboxes View + font, items, column headers
//   ListBox        ForeColor BackColor ListIndex + font, items
//   ComboBox       Text ForeColor BackColor ListIndex + font, items
//   Timer          Interval Enabled Tag
//   Form           Caption ForeColor BackColor Picture + font (a Form is a Control)
// The font is Font (its name), FontSize, FontBold, FontItalic; "Font.Name", "Font.Size",
// "Font.Bold", "Font.Italic" and "FontName" name the same properties.
//
// Writing Text of a text box or combo box raises Change, writing Value of a check box raises
// Click, each when the value changes. Every change of a property or a line is told to the
// listeners of the control's form (see Change.h).

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "forms/Change.h"
#include "forms/Events.h"
#include "forms/ListItems.h"
#include "forms/Names.h"
#include "forms/PropertyValue.h"
#include "text/NoCase.h"

namespace optera::forms {

class Form;

class Control {
  public:
    Control(std::string kind, std::string name, std::optional<int> index = std::nullopt);
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;
    virtual ~Control() = default;

    const std::string& Kind() const { return kind_; }
    const std::string& Name() const { return name_; }
    // The place in a control array; nullopt for a control that is not in one.
    std::optional<int> Index() const { return index_; }
    Form* Owner() const { return owner_; }

    bool Has(std::string_view property) const;
    // Every property the kind has, by canonical name.
    const std::map<std::string, PropertyValue, text::LessNoCase>& Properties() const {
        return properties_;
    }
    std::optional<PropertyValue> Get(std::string_view property) const;
    // False when the kind has no such property or the value cannot be converted to its type.
    bool Set(std::string_view property, const PropertyValue& value);

    // Typed access to the common properties; a kind without the property reads as the zero
    // value and ignores the write.
    bool Visible() const { return GetBool(property::Visible); }
    void SetVisible(bool value) { Set(property::Visible, value); }
    bool Enabled() const { return GetBool(property::Enabled); }
    void SetEnabled(bool value) { Set(property::Enabled, value); }
    Colour ForeColor() const { return static_cast<Colour>(GetInt(property::ForeColor)); }
    void SetForeColor(Colour value) { Set(property::ForeColor, static_cast<std::int32_t>(value)); }
    Colour BackColor() const { return static_cast<Colour>(GetInt(property::BackColor)); }
    void SetBackColor(Colour value) { Set(property::BackColor, static_cast<std::int32_t>(value)); }
    std::string Caption() const { return GetText(property::Caption); }
    void SetCaption(std::string_view value) { Set(property::Caption, std::string(value)); }
    std::string Text() const { return GetText(property::Text); }
    void SetText(std::string_view value) { Set(property::Text, std::string(value)); }
    double Left() const { return GetNumber(property::Left); }
    double Top() const { return GetNumber(property::Top); }
    double Width() const { return GetNumber(property::Width); }
    double Height() const { return GetNumber(property::Height); }

    // Events.
    void On(std::string_view event, Handler handler);
    void Raise(std::string_view event, EventArgs args = {});

    // Lines of a list view, list box or combo box; other kinds have none. Places are one-based;
    // a line is read through its place and changed only through the setters below.
    // Adds a line at the end and gives its place.
    int AddItem(std::string_view text);
    // Removes a line; the lines after it move up one. False when there is no such line.
    bool RemoveItem(int index);
    void ClearItems();
    int ItemCount() const { return static_cast<int>(items_.size()); }
    // The line at a place; nullptr when there is none. Valid until the next change of the list.
    const ListItem* Item(int index) const;
    const std::vector<ListItem>& Items() const { return items_; }
    // The selected line (a list selects one at a time) and its place; nullptr and 0 for none.
    const ListItem* SelectedItem() const;
    int SelectedIndex() const;
    // Selects one line, or none with 0.
    void Select(int index);
    // A line's fields; each is false when there is no such line.
    bool SetItemText(int index, std::string_view text);
    bool SetItemForeColor(int index, Colour colour);
    bool SetItemBold(int index, bool bold);
    bool SetItemChecked(int index, bool checked);
    // The user clicks a line's check box: the mark flips and ItemCheck runs with the line.
    void UserChecks(int index);

    // Column headers of a list view.
    void ClearColumnHeaders();
    void AddColumnHeader(std::string_view caption);
    const std::vector<std::string>& ColumnHeaders() const { return columns_; }

    // A timer's tick: raises Timer while the timer is enabled with an interval.
    void Tick();

  protected:
    friend class Form;
    void SetOwner(Form* owner) { owner_ = owner; }

  private:
    bool GetBool(std::string_view property) const;
    std::int32_t GetInt(std::string_view property) const;
    double GetNumber(std::string_view property) const;
    std::string GetText(std::string_view property) const;
    void Changed(std::string_view property);
    void Notify(ChangeKind kind, std::string_view what = {}, int line = 0);
    ListItem* MutableItem(int index);
    template <typename T>
    bool SetItemField(int index, T ListItem::*field, T value, std::string_view name);

    std::string kind_;
    std::string name_;
    std::optional<int> index_;
    Form* owner_ = nullptr;
    std::map<std::string, PropertyValue, text::LessNoCase> properties_;
    std::map<std::string, std::vector<Handler>, text::LessNoCase> handlers_;
    std::vector<ListItem> items_;
    std::vector<std::string> columns_;
};

}  // namespace optera::forms
