#pragma once
// The lines of a list control: a list view's items with their colour, face and marks, or the
// plain texts of a list box or combo box.

#include <string>
#include <vector>

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
