#pragma once
// The lines of a list control: a list view's items with their colour, face and marks, or the
// plain texts of a list box or combo box. Lines are read through their control and changed only
// through its setters, so that every change is heard.

#include <string>

#include "forms/PropertyValue.h"

namespace optera::forms {

struct ListItem {
    std::string Text;
    Colour ForeColor = 0;
    bool Bold = false;
    bool Checked = false;
    bool Selected = false;
    int Index = 0;  // one-based place in the list
};

}  // namespace optera::forms
