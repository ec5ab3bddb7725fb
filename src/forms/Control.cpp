#include "forms/Control.h"
#include "forms/Names.h"

#include "forms/Form.h"
#include "forms/KindProperties.h"

namespace optera::forms {

Control::Control(std::string kind, std::string name, std::optional<int> index)
    : kind_(std::move(kind)), name_(std::move(name)), index_(index) {
    for (auto& [property, initial] : PropertiesOfKind(kind_))
        properties_.emplace(property, initial);
}

bool Control::Has(std::string_view property) const {
    return properties_.count(CanonicalProperty(property)) != 0;
}

std::optional<PropertyValue> Control::Get(std::string_view property) const {
    auto it = properties_.find(CanonicalProperty(property));
    if (it == properties_.end()) return std::nullopt;
    return it->second;
}

bool Control::Set(std::string_view property, const PropertyValue& value) {
    auto it = properties_.find(CanonicalProperty(property));
    if (it == properties_.end()) return false;
    std::optional<PropertyValue> converted = ConvertLike(value, it->second);
    if (!converted) return false;
    if (*converted == it->second) return true;
    it->second = std::move(*converted);
    Changed(it->first);
    if (text::EqualsNoCase(it->first, property::Text)) Raise(event::Change);
    if (text::EqualsNoCase(it->first, property::Value) && text::EqualsNoCase(kind_, "CheckBox"))
        Raise(event::Click);
    return true;
}

void Control::Changed(std::string_view property) {
    Notify(ChangeKind::Property, property);
}

bool Control::GetBool(std::string_view property) const {
    auto value = Get(property);
    auto b = value ? std::get_if<bool>(&*value) : nullptr;
    return b && *b;
}

std::int32_t Control::GetInt(std::string_view property) const {
    auto value = Get(property);
    auto i = value ? std::get_if<std::int32_t>(&*value) : nullptr;
    return i ? *i : 0;
}

double Control::GetNumber(std::string_view property) const {
    auto value = Get(property);
    auto d = value ? std::get_if<double>(&*value) : nullptr;
    return d ? *d : 0.0;
}

std::string Control::GetText(std::string_view property) const {
    auto value = Get(property);
    auto s = value ? std::get_if<std::string>(&*value) : nullptr;
    return s ? *s : std::string();
}

void Control::On(std::string_view event, Handler handler) {
    handlers_[std::string(event)].push_back(std::move(handler));
}

void Control::Raise(std::string_view event, EventArgs args) {
    auto it = handlers_.find(event);
    if (it == handlers_.end()) return;
    // A handler may add handlers; run the ones there were when the event came.
    std::vector<Handler> handlers = it->second;
    for (Handler& handler : handlers) handler(*this, args);
}

void Control::Notify(ChangeKind kind, std::string_view what, int line) {
    if (owner_) owner_->Notify(Change{kind, this, what, line});
}

int Control::AddItem(std::string_view textIn) {
    ListItem& item = items_.emplace_back();
    item.Text = std::string(textIn);
    item.Index = ItemCount();
    Notify(ChangeKind::LineInserted, {}, item.Index);
    return item.Index;
}

bool Control::RemoveItem(int index) {
    if (!Item(index)) return false;
    items_.erase(items_.begin() + (index - 1));
    for (std::size_t i = static_cast<std::size_t>(index - 1); i < items_.size(); ++i)
        items_[i].Index = static_cast<int>(i + 1);
    Notify(ChangeKind::LineRemoved, {}, index);
    return true;
}

void Control::ClearItems() {
    if (items_.empty()) return;
    items_.clear();
    Notify(ChangeKind::LinesCleared);
}

ListItem* Control::MutableItem(int index) {
    if (index < 1 || index > ItemCount()) return nullptr;
    return &items_[static_cast<std::size_t>(index - 1)];
}

const ListItem* Control::Item(int index) const {
    if (index < 1 || index > ItemCount()) return nullptr;
    return &items_[static_cast<std::size_t>(index - 1)];
}

const ListItem* Control::SelectedItem() const {
    return Item(SelectedIndex());
}

int Control::SelectedIndex() const {
    for (const ListItem& item : items_)
        if (item.Selected) return item.Index;
    return 0;
}

void Control::Select(int index) {
    if (index == SelectedIndex() || (index != 0 && !Item(index))) return;
    for (ListItem& item : items_) item.Selected = item.Index == index;
    Notify(ChangeKind::SelectionChanged, {}, index);
}

template <typename T>
bool Control::SetItemField(int index, T ListItem::*field, T value, std::string_view name) {
    ListItem* item = MutableItem(index);
    if (!item) return false;
    if (item->*field == value) return true;
    item->*field = std::move(value);
    Notify(ChangeKind::LineChanged, name, index);
    return true;
}

bool Control::SetItemText(int index, std::string_view textIn) {
    return SetItemField(index, &ListItem::Text, std::string(textIn), line_field::Text);
}
bool Control::SetItemForeColor(int index, Colour colour) {
    return SetItemField(index, &ListItem::ForeColor, colour, line_field::ForeColor);
}
bool Control::SetItemBold(int index, bool bold) {
    return SetItemField(index, &ListItem::Bold, bold, line_field::Bold);
}
bool Control::SetItemChecked(int index, bool checked) {
    return SetItemField(index, &ListItem::Checked, checked, line_field::Checked);
}

void Control::UserChecks(int index) {
    const ListItem* item = Item(index);
    if (!item) return;
    SetItemChecked(index, !item->Checked);
    EventArgs args;
    args.line = index;
    Raise(event::ItemCheck, args);
}

void Control::ClearColumnHeaders() {
    if (columns_.empty()) return;
    columns_.clear();
    Notify(ChangeKind::ColumnsChanged);
}

void Control::AddColumnHeader(std::string_view caption) {
    columns_.emplace_back(caption);
    Notify(ChangeKind::ColumnsChanged);
}

void Control::Tick() {
    auto interval = Get(property::Interval);
    if (!interval || !Enabled() || std::get<std::int32_t>(*interval) <= 0) return;
    Raise(event::Timer);
}

}  // namespace optera::forms
