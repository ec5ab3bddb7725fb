#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include "forms/Form.h"

using namespace optera::forms;

namespace {

TEST(Properties, EachKindHasItsOwnAndNoOthers) {
    Form form("F");
    Control& label = form.Add("Label", "L");
    Control& image = form.Add("Image", "I");
    Control& timer = form.Add("Timer", "T");
    Control& button = form.Add("CommandButton", "B");

    EXPECT_TRUE(label.Set("caption", std::string("Hi")));
    EXPECT_EQ(label.Caption(), "Hi");
    EXPECT_FALSE(image.Set("Caption", std::string("x"))) << "an image has no caption";
    EXPECT_EQ(image.Get("Caption"), std::nullopt);
    EXPECT_FALSE(timer.Has("Left")) << "a timer is not placed";
    EXPECT_FALSE(button.Has("ForeColor")) << "a command button's text colour is not its own";
    EXPECT_TRUE(image.Has("Picture"));
    EXPECT_FALSE(label.Has("Picture"));
    EXPECT_FALSE(label.Has("NoSuchProperty"));
}

TEST(Properties, ValuesConvertAsOnAssignment) {
    Form form("F");
    Control& label = form.Add("Label", "L");
    EXPECT_TRUE(label.Set("Left", std::int32_t{1500}));
    EXPECT_EQ(label.Left(), 1500.0);
    EXPECT_TRUE(label.Set("Width", std::string("2400.5 twips")));
    EXPECT_EQ(label.Width(), 2400.5) << "text by the number rule";
    EXPECT_TRUE(label.Set("Visible", std::int32_t{0}));
    EXPECT_FALSE(label.Visible());
    EXPECT_TRUE(label.Set("BackStyle", 1.5));
    EXPECT_EQ(label.Get("BackStyle"), PropertyValue(std::int32_t{2})) << "ties go to even";
    EXPECT_TRUE(label.Set("Caption", std::int32_t{42}));
    EXPECT_EQ(label.Caption(), "42");
    EXPECT_FALSE(label.Set("BackStyle", 1e12)) << "too large for a 32-bit property";

    label.SetForeColor(0x80000012u);
    EXPECT_EQ(label.ForeColor(), 0x80000012u) << "colours keep all 32 bits";
}

TEST(Properties, FontPartsHaveTwoNames) {
    Form form("F");
    Control& label = form.Add("Label", "L");
    EXPECT_TRUE(label.Set("Font.Size", 12.0));
    EXPECT_EQ(label.Get("FontSize"), PropertyValue(12.0));
    EXPECT_TRUE(label.Set("FontName", std::string("Arial")));
    EXPECT_EQ(label.Get("Font.Name"), PropertyValue(std::string("Arial")));
    EXPECT_TRUE(label.Set("Font.Bold", true));
    EXPECT_EQ(label.Get("fontbold"), PropertyValue(true));
}

TEST(Events, RunSynchronouslyOncePerChange) {
    Form form("F");
    Control& box = form.Add("TextBox", "T");
    Control& check = form.Add("CheckBox", "C");
    std::vector<std::string> seen;
    box.On("Change",
           [&](Control& sender, EventArgs&) { seen.push_back("change " + sender.Text()); });
    check.On("Click", [&](Control&, EventArgs&) { seen.push_back("click"); });

    box.SetText("a");
    box.SetText("a");  // no change, no event
    box.SetText("b");
    check.Set("Value", std::int32_t{1});
    check.Raise("MouseUp");  // no handler: nothing happens
    EXPECT_EQ(seen, (std::vector<std::string>{"change a", "change b", "click"}));
}

// What a listener hears, as "control kind what line", for each change of one step.
struct Recorder {
    std::vector<std::string> heard;
    void operator()(const Change& change) {
        static const char* const kinds[] = {"property", "inserted", "changed", "removed",
                                            "cleared",  "selected", "columns"};
        heard.push_back(change.control->Name() + " " + kinds[static_cast<int>(change.kind)] +
                        (change.what.empty() ? "" : " " + std::string(change.what)) +
                        (change.line ? " " + std::to_string(change.line) : ""));
    }
    std::vector<std::string> Take() { return std::exchange(heard, {}); }
};

TEST(Changes, EveryChangeIsHeardOnceAndNoWriteThatChangesNothing) {
    Form form("F");
    Control& label = form.Add("Label", "L");
    Control& list = form.Add("ListView", "Games");
    Recorder recorder;
    Subscription subscription(form, std::ref(recorder));
    using Heard = std::vector<std::string>;

    label.SetCaption("x");
    label.SetCaption("x");
    form.SetCaption("Title");
    EXPECT_EQ(recorder.Take(), (Heard{"L property Caption", "F property Caption"}));

    EXPECT_EQ(list.AddItem("One"), 1);
    EXPECT_EQ(list.AddItem("Two"), 2);
    list.AddItem("Three");
    list.SetItemForeColor(2, 0xFF);
    list.SetItemForeColor(2, 0xFF);
    list.SetItemBold(2, true);
    list.SetItemText(3, "Drei");
    EXPECT_FALSE(list.SetItemChecked(4, true)) << "no such line";
    list.Select(3);
    list.Select(3);
    list.Select(2);
    EXPECT_EQ(recorder.Take(),
              (Heard{"Games inserted 1", "Games inserted 2", "Games inserted 3",
                     "Games changed ForeColor 2", "Games changed Bold 2", "Games changed Text 3",
                     "Games selected 3", "Games selected 2"}));
    EXPECT_EQ(list.SelectedIndex(), 2) << "one line at a time";
    EXPECT_FALSE(list.Item(3)->Selected);

    EXPECT_TRUE(list.RemoveItem(1));
    EXPECT_EQ(list.Item(1)->Text, "Two");
    EXPECT_EQ(list.Item(2)->Index, 2) << "the lines after it move up";
    EXPECT_EQ(list.SelectedIndex(), 1);
    list.ClearItems();
    list.ClearItems();
    list.AddColumnHeader("Supported Games");
    EXPECT_EQ(recorder.Take(), (Heard{"Games removed 1", "Games cleared", "Games columns"}));
    EXPECT_EQ(list.ItemCount(), 0);
    EXPECT_EQ(list.SelectedItem(), nullptr);
}

TEST(Changes, ListenersComeAndGoAtAnyTime) {
    Form form("F");
    Control& label = form.Add("Label", "L");
    Recorder first, second;
    std::optional<Subscription> late;
    Subscription one(form, [&](const Change& change) {
        first(change);
        // The first listener stops the second while the change is being told.
        late.reset();
    });
    late.emplace(form, std::ref(second));
    label.SetCaption("a");
    label.SetCaption("b");
    EXPECT_EQ(first.heard.size(), 2u);
    EXPECT_TRUE(second.heard.empty()) << "stopped before its turn";
    one.Stop();
    label.SetCaption("c");
    EXPECT_EQ(first.heard.size(), 2u);
}

TEST(Lists, TheUsersCheckMarkRaisesItemCheckWithTheLine) {
    Form form("F");
    Control& list = form.Add("ListView", "Games");
    list.AddItem("One");
    std::vector<std::pair<int, bool>> checks;
    list.On("ItemCheck", [&](Control& sender, EventArgs& args) {
        checks.emplace_back(args.line, sender.Item(args.line)->Checked);
    });
    list.SetItemChecked(1, true);  // the program's own mark raises nothing
    list.UserChecks(1);
    list.UserChecks(1);
    EXPECT_EQ(checks, (std::vector<std::pair<int, bool>>{{1, false}, {1, true}}));
}

TEST(Controls, ArraysAreFoundByNameAndIndex) {
    Form form("F");
    form.Add("Image", "Btn", 0);
    Control& second = form.Add("Image", "Btn", 1);
    form.Add("Label", "Single");
    EXPECT_EQ(form.Find("btn", 1), &second);
    EXPECT_EQ(form.Find("Btn"), nullptr) << "an array member needs its index";
    EXPECT_EQ(form.Find("Btn", 2), nullptr);
    ASSERT_NE(form.Find("SINGLE"), nullptr);
    EXPECT_EQ(form.Find("Single")->Index(), std::nullopt);
    EXPECT_EQ(second.Owner(), &form);
}

TEST(Controls, ATimerTicksOnlyWhileEnabledWithAnInterval) {
    Form form("F");
    Control& timer = form.Add("Timer", "T");
    int ticks = 0;
    timer.On("Timer", [&](Control&, EventArgs&) { ++ticks; });
    timer.Tick();
    timer.Set("Interval", std::int32_t{50});
    timer.Tick();
    timer.SetEnabled(false);
    timer.Tick();
    EXPECT_EQ(ticks, 1);
}

}  // namespace
