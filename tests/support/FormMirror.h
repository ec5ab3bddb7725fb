#pragma once
// A copy of a form that a listener builds from the changes it hears, as a view does: it starts
// from the form as it is, then applies each change, reading only the property or line the
// change names. Compared with the form after any step, it shows a change that was not told.

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "forms/Form.h"
#include "forms/Names.h"

namespace optera::testing {

class FormMirror {
  public:
    explicit FormMirror(forms::Form& form)
        : form_(form),
          copy_(Snapshot(form)),
          subscription_(form, [this](const forms::Change& change) { Apply(change); }) {}

    // Whether the copy is the form as it is now; names the first control that differs.
    ::testing::AssertionResult MatchesForm() const {
        const Copies now = Snapshot(form_);
        for (const auto& [control, copy] : now) {
            auto it = copy_.find(control);
            if (it == copy_.end() || !(it->second == copy))
                return ::testing::AssertionFailure()
                       << "the listener's copy of " << control->Name() << " differs: "
                       << (it == copy_.end() ? "missing" : Difference(it->second, copy));
        }
        return ::testing::AssertionSuccess();
    }

  private:
    struct ControlCopy {
        std::map<std::string, forms::PropertyValue, text::LessNoCase> properties;
        std::vector<forms::ListItem> lines;
        std::vector<std::string> columns;
        bool operator==(const ControlCopy& other) const {
            if (properties != other.properties || columns != other.columns ||
                lines.size() != other.lines.size())
                return false;
            for (std::size_t i = 0; i < lines.size(); ++i) {
                const forms::ListItem &a = lines[i], &b = other.lines[i];
                if (a.Text != b.Text || a.ForeColor != b.ForeColor || a.Bold != b.Bold ||
                    a.Checked != b.Checked || a.Selected != b.Selected || a.Index != b.Index)
                    return false;
            }
            return true;
        }
    };
    using Copies = std::map<const forms::Control*, ControlCopy>;

    static ControlCopy CopyOf(const forms::Control& control) {
        return {control.Properties(), control.Items(), control.ColumnHeaders()};
    }
    static Copies Snapshot(forms::Form& form) {
        Copies copies{{&form, CopyOf(form)}};
        for (const forms::Control& control : form.Controls()) copies[&control] = CopyOf(control);
        return copies;
    }
    static std::string Difference(const ControlCopy& heard, const ControlCopy& now) {
        std::ostringstream out;
        for (const auto& [name, value] : now.properties)
            if (heard.properties.at(name) != value) out << "property " << name << "; ";
        if (heard.columns != now.columns) out << "column headers; ";
        out << heard.lines.size() << " lines heard, " << now.lines.size() << " now";
        return out.str();
    }
    static void Renumber(std::vector<forms::ListItem>& lines) {
        for (std::size_t i = 0; i < lines.size(); ++i) lines[i].Index = static_cast<int>(i + 1);
    }

    void Apply(const forms::Change& change) {
        const forms::Control& control = *change.control;
        ControlCopy& copy = copy_[&control];
        std::vector<forms::ListItem>& lines = copy.lines;
        const auto at = lines.begin() + (change.line > 0 ? change.line - 1 : 0);
        switch (change.kind) {
            case forms::ChangeKind::Property:
                copy.properties[std::string(change.what)] = *control.Get(change.what);
                break;
            case forms::ChangeKind::LineInserted:
                lines.insert(at, *control.Item(change.line));
                Renumber(lines);
                break;
            case forms::ChangeKind::LineChanged: {
                const forms::ListItem& line = *control.Item(change.line);
                forms::ListItem& mirrored = lines.at(static_cast<std::size_t>(change.line - 1));
                if (change.what == forms::line_field::Text) mirrored.Text = line.Text;
                if (change.what == forms::line_field::ForeColor)
                    mirrored.ForeColor = line.ForeColor;
                if (change.what == forms::line_field::Bold) mirrored.Bold = line.Bold;
                if (change.what == forms::line_field::Checked) mirrored.Checked = line.Checked;
                break;
            }
            case forms::ChangeKind::LineRemoved:
                lines.erase(at);
                Renumber(lines);
                break;
            case forms::ChangeKind::LinesCleared:
                lines.clear();
                break;
            case forms::ChangeKind::SelectionChanged:
                for (forms::ListItem& line : lines) line.Selected = line.Index == change.line;
                break;
            case forms::ChangeKind::ColumnsChanged:
                copy.columns = control.ColumnHeaders();
                break;
        }
    }

    forms::Form& form_;
    Copies copy_;
    forms::Subscription subscription_;
};

}  // namespace optera::testing
