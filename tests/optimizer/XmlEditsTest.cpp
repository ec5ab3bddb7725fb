#include <gtest/gtest.h>

#include "optimizer/XmlEdits.h"
#include "platform/fake/FakeFileSystem.h"
#include "platform/fake/ScriptedPrompts.h"

using namespace optera;
using Lines = std::vector<std::string>;

namespace {

const std::string kPath = "C:\\Game\\settings.xml";
const platform::PromptMessage kLoadError{"", "Error loading XML", platform::MessageButtons::Ok,
                                         platform::MessageIcon::None};

struct Edit {
    const char* name;
    std::string before;
    Lines lines;
    std::string after;  // the file's bytes after the edit
    std::size_t boxes = 0;
};

class ApplyXml : public ::testing::Test {
  protected:
    platform::FakeFileSystem files;
    platform::ScriptedPrompts prompts;

    void Run(const Lines& lines) { optimizer::ApplyXml(files, prompts, kPath, lines); }
};

// ASCII text in UTF-16 little-endian, with its byte-order mark.
std::string Utf16(std::string_view ascii) {
    std::string bytes = "\xFF\xFE";
    for (char c : ascii) bytes += {c, '\0'};
    return bytes;
}

}  // namespace

TEST_F(ApplyXml, EditsGiveTheseFiles) {
    const std::string latin1 = R"(<?xml version="1.0" encoding="ISO-8859-1"?>)";
    // clang-format off
    const Edit edits[] = {
        {"attribute form", R"(<r><a w="800"/></r>)", {"//a[@w]=1024"}, R"(<r><a w="1024"/></r>)"},
        {"cut at the last equals sign", R"(<r><a b="c"><d>1</d></a><a b="e"><d>2</d></a></r>)",
         {R"(//a[@b="c"]/d=5)"}, R"(<r><a b="c"><d>5</d></a><a b="e"><d>2</d></a></r>)"},
        {"a comparison selects no node", "<a><b>w</b><b>x</b></a>", {"//a/b=x=y"},
         "<a><b>w</b><b>x</b></a>"},
        {"first of two matches", "<a><b>1</b><b>2</b></a>", {"//a/b=9"}, "<a><b>9</b><b>2</b></a>"},
        {"blank text is not selected", "<r>\r\n\t<!--c-->8\r\n</r>", {"/r/text()=5"},
         "<r>\r\n\t<!--c-->5</r>"},
        {"element children give way", "<a><b><c/>t<!--n--></b></a>", {"//b=v"}, "<a><b>v</b></a>"},
        {"missing attribute not created", "<r><a x='1'/></r>", {"//a[@w]=2"}, "<r><a x='1'/></r>"},
        {"name not found: saved as it was", "<r><a w='1'/></r>", {"//a[@w ]=2"},
         R"(<r><a w="1"/></r>)"},
        {"later line sees the earlier save", R"(<r><a w="1" h="2"/></r>)",
         {"//a/@w=5", R"(//a[@w="5"]/@h=6)"}, R"(<r><a w="5" h="6"/></r>)"},
        {"bad lines skipped", R"(<r><a w="1"/></r>)",
         {"//a[=1", "count(//a)=1", "//a/@w", "//a/@w=2"}, R"(<r><a w="2"/></r>)"},
        {"a comment keeps its end", "<a><!--c--></a>", {"//comment()=x-->"}, "<a><!--c--></a>"},
        {"text file holding a tag", "[V]\r\nW=<b>8</b>\r\n", {"//b=1"}, "[V]\r\nW=<b>8</b>\r\n"},
        {"root without children, once a line", "<a w='1'>\r\n</a>", {"//a/@w=2", "//a/@w=3"},
         "<a w='1'>\r\n</a>", 2},
        {"code-page value becomes UTF-8", R"(<r><a w="1"/></r>)", {"//a/@w=\xE9\x80"},
         "<r><a w=\"\xC3\xA9\xE2\x82\xAC\"/></r>"},
        {"Latin-1 file stays Latin-1", latin1 + "<a w=\"1\">\xE9</a>", {"//a/@w=\xE9"},
         latin1 + "<a w=\"\xE9\">\xE9</a>"},
        {"UTF-16 stays UTF-16", Utf16(R"(<r><a w="1"/></r>)"), {"//a/@w=2"},
         Utf16(R"(<r><a w="2"/></r>)")},
        {"byte-order mark kept", "\xEF\xBB\xBF<r><a w=\"1\"/></r>\r\n", {"//a/@w=2"},
         "\xEF\xBB\xBF<r><a w=\"2\"/></r>\r\n"},
    };
    // clang-format on
    for (const Edit& edit : edits) {
        files.PutFile(kPath, edit.before);
        prompts.shown.clear();
        Run(edit.lines);
        EXPECT_EQ(*files.ReadAll(kPath), edit.after) << edit.name;
        EXPECT_EQ(prompts.shown.size(), edit.boxes) << edit.name;
        for (const auto& box : prompts.shown) EXPECT_EQ(box, kLoadError) << edit.name;
        EXPECT_EQ(files.List("C:\\Game")->size(), 1u) << edit.name << ": no temporary file left";
    }
}

TEST_F(ApplyXml, UntouchedPartsKeepTheirBytes) {
    const std::string head =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n<!-- Game settings -->\r\n"
        "<settings>\r\n\t<display mode=\"full\">\r\n\t\t<width>";
    const std::string tail =
        "</width>\r\n\t\t<height>600</height>\r\n\t</display>\r\n"
        "\t<sound volume=\"80\"/> <!-- 0-100 -->\r\n</settings>\r\n";
    files.PutFile(kPath, head + "800" + tail);
    Run({"//display/width=1024"});
    EXPECT_EQ(*files.ReadAll(kPath), head + "1024" + tail);
}

TEST_F(ApplyXml, LeavesReadOnlyAndMissingFilesAlone) {
    files.PutFile(kPath, R"(<r><a w="1"/></r>)");
    files.SetAttributes(kPath, platform::attr::ReadOnly);
    Run({"//a/@w=2"});
    EXPECT_EQ(*files.ReadAll(kPath), R"(<r><a w="1"/></r>)");

    optimizer::ApplyXml(files, prompts, "C:\\Game\\missing.xml", {"//a/@w=2"});
    optimizer::ApplyXml(files, prompts, "", {"//a/@w=2"});
    EXPECT_FALSE(platform::FileExists(files, "C:\\Game\\missing.xml"));
    EXPECT_EQ(files.List("C:\\Game")->size(), 1u);
    EXPECT_TRUE(prompts.shown.empty());
}
