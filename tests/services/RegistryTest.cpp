#include <gtest/gtest.h>

#include <functional>
#include <ostream>

#include "platform/fake/FakeKeyStore.h"
#include "platform/fake/ScriptedPrompts.h"
#include "services/cRegistry.h"

using namespace optera;
using platform::FakeKeyStore;
using platform::PromptMessage;
using services::cRegistry;
using services::RegResult;
using Lines = std::vector<std::string>;
namespace regtype = platform::regtype;

namespace optera::services {
void PrintTo(const RegResult& r, std::ostream* os) {
    static const char* const kinds[] = {"Empty", "Bool", "Text", "Int", "Error"};
    *os << kinds[static_cast<int>(r.kind())] << "(" << r.AsText() << ")";
}
}  // namespace optera::services

namespace optera::platform {
void PrintTo(const PromptMessage& box, std::ostream* os) {
    *os << "box \"" << box.title << "\" \"" << box.text << "\"";
}
}  // namespace optera::platform

namespace {

constexpr platform::HKEY HKLM = platform::hkey::LocalMachine;
constexpr platform::HKEY HKCU = platform::hkey::CurrentUser;
const std::string kVendor = "HKEY_LOCAL_MACHINE\\Software\\Vendor";
const RegResult kTrue = RegResult::Bool(true);
const RegResult kFalse = RegResult::Bool(false);
const RegResult kError = RegResult::Text("Error");

PromptMessage Box(const std::string& text) {
    return {"", text, platform::MessageButtons::Ok, platform::MessageIcon::None};
}

// A registry over a fresh store; every test ends with every handle closed
// again.
class Registry : public ::testing::Test {
  protected:
    FakeKeyStore store{true};
    platform::ScriptedPrompts prompts;
    cRegistry reg{store, prompts};

    void TearDown() override { EXPECT_EQ(store.OpenHandles(), 0u); }
};

// Records the access masks the registry asks for.
class MaskRecorder : public FakeKeyStore {
  public:
    using FakeKeyStore::FakeKeyStore;
    platform::LONG RegOpenKeyExA(platform::HKEY key, std::string_view subKey,
                                 platform::DWORD options, platform::REGSAM access,
                                 platform::HKEY* result) override {
        masks.push_back(access);
        return FakeKeyStore::RegOpenKeyExA(key, subKey, options, access, result);
    }
    std::vector<platform::REGSAM> masks;
};

}  // namespace

TEST_F(Registry, PathsNameARootOrFallBackOnTheKeptOne) {
    store.PutString(HKLM, "", "Name", "root");
    store.PutString(HKLM, "Software\\Vendor", "Name", "v");
    struct Row {
        const char* name;
        Lines before;  // paths used first, which may leave a root behind
        std::string path;
        RegResult expected;
        bool box;  // "Incorrect Format:" shown
    };
    const Row rows[] = {
        {"root only", {}, "HKEY_LOCAL_MACHINE", RegResult::Text("root"), false},
        {"full path", {}, kVendor, RegResult::Text("v"), false},
        {"trailing backslash, no root kept", {}, kVendor + "\\", {}, true},
        {"trailing backslash, root kept", {"HKEY_CURRENT_USER"}, kVendor + "\\", kError, false},
        {"lower-case hkey_", {}, "hkey_local_machine\\Software\\Vendor", {}, true},
        {"empty path", {}, "", {}, true},
        {"unknown root", {}, "HKEY_NOWHERE\\Software\\Vendor", {}, false},
        {"root name case counts", {}, "HKEY_Local_Machine\\Software\\Vendor", {}, false},
        {"relative path below kept root",
         {kVendor},
         "Software\\Vendor",
         RegResult::Text("v"),
         false},
        {"unknown root drops kept root", {kVendor, "HKEY_NOWHERE"}, "Software\\Vendor", {}, true},
    };
    for (const Row& row : rows) {
        cRegistry fresh(store, prompts);
        for (const std::string& path : row.before) fresh.KeyExist(path);
        prompts.shown.clear();
        EXPECT_EQ(fresh.GetStringValue(row.path, "Name"), row.expected) << row.name;
        std::vector<PromptMessage> boxes;
        if (row.box) boxes.push_back(Box("Incorrect Format:\n\n" + row.path));
        EXPECT_EQ(prompts.shown, boxes) << row.name;
    }
}

TEST_F(Registry, AnUnknownRootTouchesNothing) {
    const std::string path = "HKEY_NOWHERE\\Software";
    EXPECT_EQ(reg.GetStringValue(path, "x"), RegResult());
    EXPECT_EQ(reg.GetDWordValue(path, "x"), RegResult());
    EXPECT_EQ(reg.KeyExist(path), RegResult());
    EXPECT_EQ(reg.KeyValueExist(path, "x"), RegResult());
    EXPECT_EQ(reg.SetStringValue(path, "x", "y"), kFalse);
    EXPECT_EQ(reg.CreateKey(path), kFalse);
    EXPECT_EQ(reg.KeyExistRecursive(path, "x"), "");
    EXPECT_EQ(store.HandlesEverOpened(), 0u);
    EXPECT_TRUE(prompts.shown.empty());
}

// The view flag counts only on a 64-bit system: it picks the branch read and
// written, and the access masks asked for carry the view bit only when the
// 64-bit view is asked for there.
TEST(RegistryViews, Use64BitRegCallPicksTheViewAndMaskOnlyOnA64BitSystem) {
    struct Row {
        bool win64;
        int use64;
        const char* sees;  // "plain" or "wow"
        platform::REGSAM read, write, full;
    };
    const Row rows[] = {{true, 1, "plain", 0x20119, 0x20106, 0x13F},
                        {true, 7, "plain", 0x20119, 0x20106, 0x13F},
                        {true, 0, "wow", 0x20019, 0x20006, 0x3F},
                        {false, 0, "plain", 0x20019, 0x20006, 0x3F},
                        {false, 1, "plain", 0x20019, 0x20006, 0x3F}};
    for (const Row& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.win64 << " " << row.use64);
        MaskRecorder store(row.win64);
        platform::ScriptedPrompts prompts;
        cRegistry reg(store, prompts);
        store.PutString(HKLM, "Software\\Vendor", "Path", "plain");
        store.PutString(HKLM, "Software\\Wow6432Node\\Vendor", "Path", "wow");
        EXPECT_EQ(reg.GetStringValue(kVendor, "Path", row.use64).AsText(), row.sees);
        EXPECT_EQ(reg.SetStringValue(kVendor, "Path", "new", row.use64), kTrue);
        std::string written =
            std::string(row.sees) == "wow" ? "Software\\Wow6432Node\\Vendor" : "Software\\Vendor";
        EXPECT_EQ(store.Value(HKLM, written, "Path")->bytes, std::string("new\0", 4));
        EXPECT_EQ(store.OpenHandles(), 0u);
        store.masks.clear();
        reg.KeyExist("HKEY_CURRENT_USER", row.use64);
        reg.SetStringValue("HKEY_CURRENT_USER", "v", "x", row.use64);
        reg.DeleteKeyValue("HKEY_CURRENT_USER", "v", row.use64);
        EXPECT_EQ(store.masks, (std::vector<platform::REGSAM>{row.read, row.write, row.full}));
    }
}

// Blanks at the ends are checked on both stores with the registry text tests.
TEST_F(Registry, StringValuesAreTrimmedAndCut) {
    struct Row {
        const char* name;
        platform::DWORD type;
        std::string bytes;
        std::string expected;
    };
    const Row rows[] = {
        {"tab ends the text", regtype::Sz, std::string("ab\tcd\0", 6), "ab"},
        {"line feed stays", regtype::Sz, std::string("ab\ncd\0", 6), "ab\ncd"},
        {"NUL ends the text", regtype::Sz, std::string("ab\0cd\0", 6), "ab"},
        {"bytes above 127 stay", regtype::Sz, std::string("caf\xE9\x80\0", 6), "caf\xE9\x80"},
        {"only blanks", regtype::Sz, std::string("   \0", 4), ""},
        {"content is the word Error", regtype::Sz, std::string("Error\0", 6), "Error"},
        {"other types read as bytes", regtype::Dword, std::string("7\0\0\0", 4), "7"},
        {"65,535 bytes fit", regtype::Sz, std::string(65534, 'x') + '\0', std::string(65534, 'x')},
        {"65,536 bytes fail", regtype::Sz, std::string(65535, 'x') + '\0', "Error"},
    };
    for (const Row& row : rows) {
        store.PutValue(HKLM, "Software\\Vendor", "v", row.type, row.bytes);
        EXPECT_EQ(reg.GetStringValue(kVendor, "v"), RegResult::Text(row.expected)) << row.name;
    }
}

// Reads by type; a failed read gives the word Error, and tells why only when
// asked to.
TEST_F(Registry, ReadsByTypeAndFailedReadsGiveError) {
    store.PutString(HKLM, "Software\\Vendor", "v", "x");
    store.PutValue(HKLM, "Software\\Vendor", "bin", regtype::Binary, std::string("a\0 b", 4));
    store.PutValue(HKLM, "Software\\Vendor", "dw", regtype::Dword, "\xFF\xFF\xFF\xFF");
    store.PutValue(HKLM, "Software\\Vendor", "q", regtype::Qword, std::string(8, '\x01'));
    store.DenyAccess(HKLM, "Software\\Locked");
    const std::string missing = kVendor + "\\Missing";
    const std::pair<RegResult, RegResult> reads[] = {
        {reg.GetStringValue(kVendor, "missing"), kError},
        {reg.GetStringValue(missing, "v"), kError},
        {reg.GetBinaryValue(kVendor, "bin"), RegResult::Text(std::string("a\0 b", 4))},
        {reg.GetBinaryValue(kVendor, "missing"), kError},
        {reg.GetDWordValue(kVendor, "dw"), RegResult::Int(-1)},
        {reg.GetDWordValue(kVendor, "q"), kError},
        {reg.KeyValueExist(kVendor, "v"), kTrue},
        {reg.KeyValueExist(kVendor, "V"), kTrue},
        {reg.KeyValueExist(kVendor, "w"), kFalse},
        {reg.KeyValueExist(kVendor, ""), kFalse},
        {reg.KeyValueExist(missing, "v"), RegResult()},
        {reg.KeyExist(missing), kFalse},
    };
    for (std::size_t i = 0; i < std::size(reads); ++i)
        EXPECT_EQ(reads[i].first, reads[i].second) << "read " << i;
    store.PutString(HKLM, "Software\\Vendor", "", "default");
    EXPECT_EQ(reg.KeyValueExist(kVendor, ""), kTrue);
    EXPECT_EQ(reg.GetRegistryValueType(kVendor), "");
    EXPECT_EQ(reg.GetRegistryValueType(missing), "Error");
    EXPECT_TRUE(prompts.shown.empty());

    reg.SetDisplayErrorMsg(true);
    EXPECT_EQ(reg.GetStringValue(kVendor, "missing"), kError);
    EXPECT_EQ(reg.GetDWordValue("HKEY_LOCAL_MACHINE\\Software\\Locked", "v"), kError);
    EXPECT_EQ(prompts.shown, (std::vector<PromptMessage>{Box("Bad Key Name"),
                                                         Box("Access to this key is denied")}));
}

TEST_F(Registry, WritersNeverCreateKeys) {
    store.PutKey(HKLM, "Software\\Vendor");
    store.DenyAccess(HKLM, "Software\\Locked");
    using Call = std::function<RegResult()>;
    struct Row {
        const char* name;
        Call call;
        RegResult expected;
        std::optional<FakeKeyStore::StoredValue> stored;  // of Software\Vendor "v" afterwards
    };
    const Row rows[] = {
        // As Windows does, the text's terminator is counted back in.
        {"string without terminator", [&] { return reg.SetStringValue(kVendor, "v", "ab "); },
         kTrue, FakeKeyStore::StoredValue{regtype::Sz, std::string("ab \0", 4)}},
        {"empty string", [&] { return reg.SetStringValue(kVendor, "v", ""); }, kTrue,
         FakeKeyStore::StoredValue{regtype::Sz, ""}},
        {"dword -1", [&] { return reg.SetDWordValue(kVendor, "v", -1); }, kTrue,
         FakeKeyStore::StoredValue{regtype::Dword, "\xFF\xFF\xFF\xFF"}},
        {"dword little-endian", [&] { return reg.SetDWordValue(kVendor, "v", 0x01020304); }, kTrue,
         FakeKeyStore::StoredValue{regtype::Dword, "\x04\x03\x02\x01"}},
        {"binary bytes",
         [&] { return reg.SetBinaryValue(kVendor, "v", std::string("A\0\xFF", 3)); }, kTrue,
         FakeKeyStore::StoredValue{regtype::Binary, std::string("A\0\xFF", 3)}},
        {"empty binary is an error", [&] { return reg.SetBinaryValue(kVendor, "v", ""); },
         RegResult::Error(), std::nullopt},
        {"missing key", [&] { return reg.SetStringValue(kVendor + "\\New", "v", "x"); }, kFalse,
         std::nullopt},
        {"denied key",
         [&] { return reg.SetDWordValue("HKEY_LOCAL_MACHINE\\Software\\Locked", "v", 1); }, kFalse,
         std::nullopt},
    };
    for (const Row& row : rows) {
        store.PutKey(HKLM, "Software\\Vendor");
        EXPECT_EQ(row.call(), row.expected) << row.name;
        EXPECT_EQ(store.Value(HKLM, "Software\\Vendor", "v"), row.stored) << row.name;
        EXPECT_FALSE(store.Exists(HKLM, "Software\\Vendor\\New")) << row.name;
        EXPECT_EQ(store.OpenHandles(), 0u) << row.name;
        reg.DeleteKeyValue(kVendor, "v");
    }
    // A failed write is reported when asked.
    store.DenyWrites(true);
    reg.SetDisplayErrorMsg(true);
    EXPECT_EQ(reg.SetStringValue(kVendor, "v", "x"), kFalse);
    EXPECT_EQ(prompts.shown, std::vector<PromptMessage>{Box("Access to this key is denied")});
}

TEST_F(Registry, KeyExistRecursiveComparesALevelBeforeGoingDeeper) {
    struct Row {
        const char* name;
        Lines keys;  // below Software\Base
        std::string search;
        std::string expected;  // below kBase, "" for none
    };
    const Row rows[] = {
        {"direct child beats an earlier sibling's subtree",
         {"A\\Target", "Target"},
         "Target",
         "Target"},
        {"first subtree is searched before the second",
         {"A\\B\\Target", "C\\Target"},
         "Target",
         "A\\B\\Target"},
        {"case counts", {"A\\target"}, "Target", ""},
        {"the main key itself is never compared", {"A"}, "Base", ""},
        {"no subkeys", {}, "Target", ""},
    };
    const std::string base = "HKEY_LOCAL_MACHINE\\Software\\Base";
    for (const Row& row : rows) {
        FakeKeyStore fresh(false);
        cRegistry r(fresh, prompts);
        fresh.PutKey(HKLM, "Software\\Base");
        for (const std::string& key : row.keys) fresh.PutKey(HKLM, "Software\\Base\\" + key);
        std::string expected = row.expected.empty() ? "" : base + "\\" + row.expected;
        EXPECT_EQ(r.KeyExistRecursive(base, row.search), expected) << row.name;
        EXPECT_EQ(fresh.OpenHandles(), 0u) << row.name;
    }
    EXPECT_EQ(reg.KeyExistRecursive(base, "Target"), "");
}

TEST_F(Registry, KeyExistRecursiveReadsDeeperLevelsInThe64BitView) {
    store.PutKey(HKLM, "Software\\Wow6432Node\\Vendor\\X");
    store.PutKey(HKLM, "Software\\Vendor\\X\\Target");
    EXPECT_EQ(reg.KeyExistRecursive(kVendor, "Target", 0), kVendor + "\\X\\Target");
    store.PutKey(HKLM, "Software\\Wow6432Node\\Vendor\\Y\\Only32");
    EXPECT_EQ(reg.KeyExistRecursive(kVendor, "Only32", 0), "");
    EXPECT_EQ(reg.KeyExistRecursive(kVendor, "Only32", 1), "");
}

TEST_F(Registry, GetValueListShowsEachValueByItsType) {
    const std::string key = "Software\\Vendor";
    store.PutString(HKLM, key, "", "default");
    store.PutString(HKLM, key, "Str", "abc");
    store.PutValue(HKLM, key, "Exp", regtype::ExpandSz, std::string("%a%\0", 4));
    store.PutValue(HKLM, key, "Bin", regtype::Binary, "\x01\xAB");
    store.PutValue(HKLM, key, "Dw", regtype::Dword, std::string("\x01\0\0\0", 4));
    store.PutValue(HKLM, key, "Multi", regtype::MultiSz, std::string("a\0b\0\0", 5));
    store.PutValue(HKLM, key, "Empty", regtype::Sz, "");
    store.PutString(HKLM, key, "  ", "blank name");
    store.PutValue(HKLM, key, "Big", regtype::Binary, std::string(256, 'x'));
    store.PutValue(HKLM, key, "Q", regtype::Qword, std::string("\x31\0\0\0\0\0\0\0", 8));
    EXPECT_EQ(reg.GetValueList(kVendor),
              (Lines{"\"Str\"=\"abc\"", "\"Exp\"=\"%a%\"", "\"Bin\"=hex:01,AB",
                     "\"Dw\"=hex:01,00,00,00", "\"Multi\"=hex(7):61,00,62,00,00", "\"Q\"=\"1\""}));
    EXPECT_EQ(reg.GetValueList(kVendor + "\\Missing"), Lines{""});
    store.PutKey(HKLM, "Software\\Empty");
    EXPECT_EQ(reg.GetValueList("HKEY_LOCAL_MACHINE\\Software\\Empty"), Lines{""});
}

TEST_F(Registry, GetSubkeyListStopsAtANameTooLongForItsBuffer) {
    store.PutKey(HKLM, "Software\\Vendor\\B");
    store.PutKey(HKLM, "Software\\Vendor\\a");
    EXPECT_EQ(reg.GetSubkeyList(kVendor), (Lines{"B", "a"}));
    store.PutKey(HKLM, "Software\\Vendor\\" + std::string(255, 'n'));
    store.PutKey(HKLM, "Software\\Vendor\\c");
    EXPECT_EQ(reg.GetSubkeyList(kVendor), (Lines{"B", "a"}));
    EXPECT_EQ(reg.GetSubkeyList(kVendor + "\\B"), Lines{""});
    EXPECT_EQ(reg.GetSubkeyList(kVendor + "\\Missing"), Lines{""});
}

TEST_F(Registry, DeleteAllRemovesAWholeTree) {
    for (bool win64 : {true, false}) {
        FakeKeyStore fresh(win64);
        cRegistry r(fresh, prompts);
        fresh.PutString(HKLM, "Software\\Vendor\\Game\\a\\b\\c", "v", "x");
        fresh.PutString(HKLM, "Software\\Vendor\\Game\\d", "v", "x");
        fresh.PutKey(HKLM, "Software\\Vendor\\Other");
        EXPECT_EQ(r.DeleteAll_KeyAndSubKeyItems(kVendor + "\\Game"), RegResult());
        EXPECT_EQ(fresh.SubkeyNames(HKLM, "Software\\Vendor"), Lines{"Other"}) << win64;
        EXPECT_EQ(fresh.OpenHandles(), 0u);
    }
}

TEST_F(Registry, DeleteAllStopsAtASubkeyThatSurvivesItsDeletion) {
    store.PutKey(HKLM, "Software\\Vendor\\Game\\a");
    store.DenyAccess(HKLM, "Software\\Vendor\\Game\\Locked");
    store.PutKey(HKLM, "Software\\Vendor\\Game\\z");
    reg.DeleteAll_KeyAndSubKeyItems(kVendor + "\\Game");
    EXPECT_EQ(store.SubkeyNames(HKLM, "Software\\Vendor\\Game"), (Lines{"Locked", "z"}));

    // In the 32-bit view only the top key is found; its subkeys are looked for in
    // the 64-bit view, where they are not.
    store.PutKey(HKLM, "Software\\Wow6432Node\\Vendor\\Game\\Sub");
    reg.DeleteAll_KeyAndSubKeyItems(kVendor + "\\Game", 0);
    EXPECT_TRUE(store.Exists(HKLM, "Software\\Wow6432Node\\Vendor\\Game\\Sub"));

    reg.DeleteAll_KeyAndSubKeyItems("HKEY_LOCAL_MACHINE");
    EXPECT_TRUE(store.Exists(HKLM, "Software\\Vendor\\Game\\z"));
}

TEST_F(Registry, KeysAreCreatedAndDeleted) {
    store.PutKey(HKLM, "Software\\Wow6432Node");
    EXPECT_EQ(reg.CreateKey(kVendor + "\\A\\B"), kTrue);
    EXPECT_TRUE(store.Exists(HKLM, "Software\\Vendor\\A\\B"));
    EXPECT_EQ(reg.CreateKey(kVendor + "\\A\\B", 0), kTrue);
    EXPECT_TRUE(store.Exists(HKLM, "Software\\Wow6432Node\\Vendor\\A\\B"));

    reg.SetDisplayErrorMsg(true);
    EXPECT_EQ(reg.DeleteKey(kVendor + "\\A"), kFalse);  // it has a subkey
    EXPECT_EQ(prompts.shown, std::vector<PromptMessage>{Box("Access to this key is denied")});
    EXPECT_EQ(reg.DeleteKey(kVendor + "\\A\\B"), kTrue);
    EXPECT_TRUE(store.Exists(HKLM, "Software\\Wow6432Node\\Vendor\\A\\B"));
    EXPECT_EQ(reg.DeleteKey(kVendor + "\\A\\B", 0), kTrue);
    EXPECT_FALSE(store.Exists(HKLM, "Software\\Wow6432Node\\Vendor\\A\\B"));

    store.PutString(HKLM, "Software\\Vendor", "v", "x");
    EXPECT_EQ(reg.DeleteKeyValue(kVendor, "v"), kTrue);
    EXPECT_EQ(reg.DeleteKeyValue(kVendor, "v"), kFalse);
    EXPECT_EQ(reg.DeleteKeyValue(kVendor + "\\Missing", "v"), kFalse);
    EXPECT_EQ(prompts.shown.size(), 2u);  // the missing value, not the missing key
    EXPECT_EQ(reg.DeleteAllKeySubItems(), kFalse);
}

TEST_F(Registry, SavedKeysAreRestored) {
    store.PutString(HKLM, "Software\\Vendor\\Game", "v", "before");
    EXPECT_TRUE(reg.SaveKey(kVendor, "backup"));
    EXPECT_FALSE(reg.SaveKey(kVendor, "backup"));  // only new files are written
    EXPECT_FALSE(reg.SaveKey(kVendor + "\\Missing", "other"));
    store.PutString(HKLM, "Software\\Vendor\\Game", "v", "after");
    store.PutKey(HKLM, "Software\\Vendor\\Added");

    EXPECT_FALSE(reg.RestoreKey("Software\\Vendor", "backup",
                                HKLM));  // no restore privilege
    EXPECT_FALSE(reg.EnablePrivilege("SeNoSuchPrivilege"));
    ASSERT_TRUE(reg.EnablePrivilege("SeRestorePrivilege"));
    EXPECT_TRUE(reg.RestoreKey("Software\\Vendor", "backup", HKLM));
    EXPECT_EQ(reg.GetStringValue(kVendor + "\\Game", "v").AsText(), "before");
    EXPECT_EQ(store.SubkeyNames(HKLM, "Software\\Vendor"), Lines{"Game"});
    EXPECT_FALSE(reg.RestoreKey("Software\\Vendor", "nothing", HKLM));
    EXPECT_FALSE(reg.RestoreKey("Software\\Vendor", "backup", HKCU));
}

TEST(RegistryText, ErrorTexts) {
    EXPECT_EQ(cRegistry::GetErrorText(2), "Bad Key Name");
    EXPECT_EQ(cRegistry::GetErrorText(1010), cRegistry::GetErrorText(2));
    // Every code the registry may give has its words; any other is shown as a number, with a
    // blank where a minus sign would stand.
    for (platform::LONG code : {4, 1012, 5, 8, 14, 87, 234, 1009, 1015, 1011, 1013})
        EXPECT_FALSE(cRegistry::GetErrorText(code).starts_with("Undefined")) << code;
    EXPECT_EQ(cRegistry::GetErrorText(0), "Undefined Error Code:   0");
    EXPECT_EQ(cRegistry::GetErrorText(259), "Undefined Error Code:   259");
    EXPECT_EQ(cRegistry::GetErrorText(-1), "Undefined Error Code:  -1");
}

TEST(RegistryText, HexConversions) {
    const std::pair<const char*, std::int32_t> decimals[] = {
        {"", 0},         {"ff", 255}, {"FF", 255}, {"1a", 26},
        {"1G", 0},       {"G1", 0},   {" 1", 0},   {"7FFFFFFF", 2147483647},
        {"FFFFFFFF", -1}};
    for (const auto& [hex, value] : decimals) EXPECT_EQ(cRegistry::HexToDec(hex), value) << hex;

    EXPECT_EQ(cRegistry::HexToString("41,00,62", ","), "Ab");
    EXPECT_EQ(cRegistry::HexToString("41 42", " "), "AB");
    EXPECT_EQ(cRegistry::HexToString("", ","), "");

    EXPECT_EQ(cRegistry::GetBinaryDataFromString("A\n"), "41,0A");
    EXPECT_EQ(cRegistry::GetBinaryDataFromString(""), "");
    EXPECT_EQ(cRegistry::GetStringFromBinaryData("41,0a"), "A\n");
    EXPECT_EQ(cRegistry::GetStringFromBinaryData("E9"), "\xE9");
    std::string all;
    for (int c = 0; c < 256; ++c) all += static_cast<char>(c);
    EXPECT_EQ(cRegistry::GetStringFromBinaryData(cRegistry::GetBinaryDataFromString(all)), all);

    EXPECT_EQ(cRegistry::RegBinaryToHex("A\xFF"), "41 FF");
    EXPECT_EQ(cRegistry::RegBinaryToHex("ERROR"), "");
    EXPECT_EQ(cRegistry::RegBinaryToStr("Error"), "");
    EXPECT_EQ(cRegistry::RegBinaryToStr("HEX:a,b,c"), "abc");
    EXPECT_EQ(cRegistry::StripTerminator(std::string("ab\0cd", 5)), "ab");
}

TEST(RegistryText, SplitBinaryTextCutsAtTheSecondCharacter) {
    const std::pair<const char*, Lines> rows[] = {
        {"hex:a,b,c", {"a", "b", "c"}}, {"xxHEX:a;b", {"a", "b"}},
        {"hexa b", {"a", "b"}},         {"hex:ab", {"ab"}},
        {"41,42", {"4", ",42"}},        {"", {""}},
    };
    for (const auto& [input, pieces] : rows) {
        EXPECT_EQ(cRegistry::SplitBinaryText(input), pieces) << input;
    }
}
