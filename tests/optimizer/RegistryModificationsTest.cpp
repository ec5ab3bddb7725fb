#include <gtest/gtest.h>

#include "optimizer/RegistryModifications.h"
#include "platform/fake/FakeMachine.h"
#include "platform/fake/ScriptedPrompts.h"

using namespace optera;
using optimizer::RegistryEntry;
namespace hkey = platform::hkey;

namespace {

class RegistryLines : public ::testing::Test {
  protected:
    platform::FakeMachine fake;
    platform::ScriptedPrompts prompts;
    services::cRegistry registry{fake.registry, prompts};
    optimizer::KeyStoreRegistryFiles regFiles{fake.registry, fake.files};
    optimizer::RunReport report;
    std::vector<std::chrono::milliseconds> pauses;
    optimizer::RegistryServices services{
        registry,
        1,
        prompts,
        fake.machine(),
        regFiles,
        report,
        [this](std::chrono::milliseconds pause) { pauses.push_back(pause); }};

    void SetUp() override {
        fake.environment.variables["SystemDrive"] = "C:";
        fake.registry.PutKey(hkey::CurrentUser, "Software\\Game\\Users\\Profile");
        fake.registry.PutKey(hkey::CurrentUser, "Software\\Game\\{123}\\Profile");
    }
    std::string Resolve(std::string_view path) {
        return optimizer::ResolveRegistryKey(path, registry, 1);
    }
};

TEST_F(RegistryLines, AnUnknownComponentIsFoundBelowTheKnownPart) {
    const std::string found = "HKEY_CURRENT_USER\\Software\\Game\\Users\\Profile";
    EXPECT_EQ(Resolve("HKEY_CURRENT_USER\\Software\\Game\\\\Profile"), found);
    EXPECT_EQ(Resolve("HKEY_CURRENT_USER\\Software\\Game\\{123}\\Profile"), found)
        << "the braced component is skipped, then the name is searched for";
    // A key may be named "*": the double backslash is looked for first, so the star stays.
    fake.registry.PutKey(hkey::CurrentUser, "Software\\*\\Game\\Sub\\Profile");
    EXPECT_EQ(Resolve("HKEY_CURRENT_USER\\Software\\*\\Game\\\\Profile"),
              "HKEY_CURRENT_USER\\Software\\*\\Game\\Sub\\Profile");
    EXPECT_EQ(Resolve("HKEY_CURRENT_USER\\Software\\Game\\\\Nothing"), "");
    EXPECT_EQ(Resolve("HKEY_CURRENT_USER\\Software\\Plain"), "HKEY_CURRENT_USER\\Software\\Plain");
}

TEST_F(RegistryLines, EntriesAreTheFieldsAsTheyStand) {
    auto entries = optimizer::ParseRegistryEntries(
        {"HKEY_CURRENT_USER\\Software\\Game,Width,1024,REG_DWORD,extra", "K, Name,x", "K"},
        registry, 1);
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].Type, "REG_DWORD");
    EXPECT_EQ(entries[1].Name, " Name") << "blanks are kept";
    EXPECT_EQ(entries[1].Type, "");
    EXPECT_EQ(entries[2].Data, "");
}

TEST(ReduceRegistryKeys, KeepsTheFewestKeysThatCoverAll) {
    auto reduce = [](std::initializer_list<const char*> keys) {
        std::vector<RegistryEntry> entries;
        for (const char* key : keys) entries.push_back({key, "n", "d", "REG_SZ"});
        return optimizer::ReduceRegistryKeys(entries);
    };
    using V = std::vector<std::string>;
    EXPECT_EQ(reduce({"A\\B", "A\\B\\C"}), V{"A\\B"});
    EXPECT_EQ(reduce({"A\\B\\C", "A\\B"}), V{"A\\B"});
    EXPECT_EQ(reduce({"A\\B", "A\\C"}), (V{"A\\B", "A\\C"}));
    EXPECT_EQ(reduce({"A\\B", "A\\C", "A\\B"}), (V{"A\\B", "A\\C"}));
    EXPECT_EQ(reduce({"S\\Game", "S\\Game2"}), V{"S\\Game"}) << "coverage is by text";
    EXPECT_EQ(reduce({"Only\\One"}), V{"Only\\One"});
    // A wildcard that found no key leaves its entry's key empty; it covers nothing.
    EXPECT_EQ(reduce({"A\\B", ""}), V{"A\\B"});
    EXPECT_EQ(reduce({"", "A\\B", "", "A\\C"}), (V{"A\\B", "A\\C"}));
    EXPECT_EQ(reduce({""}), V{});
}

TEST_F(RegistryLines, ValuesAreWrittenByTypeAndFailuresAreReported) {
    const std::string key = "HKEY_CURRENT_USER\\Software\\Game";
    optimizer::WriteRegistryValues(services, {{key, "Text", "wide", "reg_sz"},
                                              {key, "Num", "12abc", "REG_DWORD"},
                                              {key, "Zero", "abc", "REG_DWORD"},
                                              {key, "Bin", "AB", "REG_BINARY"},
                                              {key, "Three", "fields", ""},
                                              {key + "\\Missing", "X", "1", "REG_SZ"}});
    EXPECT_EQ(registry.GetStringValue(key, "Text").AsText(), "wide");
    EXPECT_EQ(registry.GetDWordValue(key, "Num").AsInt(), 12);
    EXPECT_EQ(registry.GetDWordValue(key, "Zero").AsInt(), 0);
    EXPECT_EQ(registry.GetBinaryValue(key, "Bin").AsText(), "AB");
    ASSERT_EQ(prompts.shown.size(), 2u) << "one box for each entry that could not be written";
    EXPECT_EQ(
        prompts.shown[0],
        (platform::PromptMessage{"Invalid Registry Entry",
                                 "Unable to process this registry entry\r\n\r\n" + key +
                                     ", Three, fields\r\n\r\nThis may cause your game to "
                                     "behave in a way different than expected.",
                                 platform::MessageButtons::Ok, platform::MessageIcon::Critical}));
    EXPECT_FALSE(platform::FileExists(fake.files, "C:\\tmpReg.reg"));
}

TEST_F(RegistryLines, AValueIsTriedElevenTimesWithAPauseBetweenTries) {
    const std::string key = "HKEY_CURRENT_USER\\Software\\Game";
    using namespace std::chrono_literals;
    fake.registry.DenyWrites(true);
    optimizer::WriteRegistryValues(services, {{key, "Mode", "wide", "REG_SZ"}});
    EXPECT_EQ(pauses, std::vector<std::chrono::milliseconds>(10, 50ms));
    EXPECT_EQ(prompts.shown.size(), 1u);

    // Another program let go of the registry during the second pause.
    pauses.clear();
    services.pause = [&](std::chrono::milliseconds pause) {
        pauses.push_back(pause);
        if (pauses.size() == 2) fake.registry.DenyWrites(false);
    };
    optimizer::WriteRegistryValues(services, {{key, "Mode", "wide", "REG_SZ"}});
    EXPECT_EQ(pauses.size(), 2u);
    EXPECT_EQ(registry.GetStringValue(key, "Mode").AsText(), "wide");
    EXPECT_EQ(prompts.shown.size(), 1u) << "no second box";

    pauses.clear();
    optimizer::WriteRegistryValues(services, {{key, "Mode", "wider", "REG_SZ"}});
    EXPECT_TRUE(pauses.empty()) << "a write that works at once waits for nothing";
}

TEST_F(RegistryLines, BackupsAreTakenOnceAndRestoreLoadsBothNames) {
    const std::string key = "HKEY_CURRENT_USER\\Software\\Game";
    fake.files.CreateFolder("C:\\Game");
    registry.SetStringValue(key, "Mode", "narrow");
    const std::vector<std::string> lines{key + ",Mode,wide,REG_SZ", key + "\\Users,Seen,1,REG_SZ",
                                         "HKEY_CURRENT_USER\\Software\\Other,Mode,x,REG_SZ"};
    fake.registry.PutKey(hkey::CurrentUser, "Software\\Other");
    optimizer::SyncRegistry(services, lines, "Game", "C:\\Game", false);
    EXPECT_TRUE(platform::FileExists(fake.files, "C:\\Game\\Kelvan_Game_0.reg"));
    EXPECT_TRUE(platform::FileExists(fake.files, "C:\\Game\\Kelvan_Game_1.reg"));
    EXPECT_FALSE(platform::FileExists(fake.files, "C:\\Game\\Kelvan_Game_2.reg"));
    EXPECT_EQ(registry.GetStringValue(key, "Mode").AsText(), "wide");

    const auto first = fake.files.ReadAll("C:\\Game\\Kelvan_Game_0.reg");
    optimizer::SyncRegistry(services, lines, "Game", "C:\\Game", false);
    EXPECT_EQ(fake.files.ReadAll("C:\\Game\\Kelvan_Game_0.reg"), first) << "never taken again";

    fake.files.PutFile("C:\\Game\\KelvanOpteraRegistryBackUpFile_1.reg",
                       "REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\Software\\Older]\r\n\"v\"=\"1\"\r\n");
    optimizer::SyncRegistry(services, lines, "Game", "C:\\Game", true);
    EXPECT_EQ(registry.GetStringValue(key, "Mode").AsText(), "narrow");
    EXPECT_EQ(registry.GetStringValue("HKEY_CURRENT_USER\\Software\\Older", "v").AsText(), "1");
    for (const char* file :
         {"Kelvan_Game_0.reg", "Kelvan_Game_1.reg", "KelvanOpteraRegistryBackUpFile_1.reg"})
        EXPECT_FALSE(platform::FileExists(fake.files, "C:\\Game\\" + std::string(file))) << file;

    // A recipe whose wildcard no longer finds its key still gets its values back.
    optimizer::SyncRegistry(services, lines, "Game", "C:\\Game", false);
    EXPECT_EQ(registry.GetStringValue(key, "Mode").AsText(), "wide");
    optimizer::SyncRegistry(services, {"HKEY_CURRENT_USER\\Software\\\\Gone,Mode,x,REG_SZ"}, "Game",
                            "C:\\Game", true);
    EXPECT_EQ(registry.GetStringValue(key, "Mode").AsText(), "narrow");
    EXPECT_FALSE(platform::FileExists(fake.files, "C:\\Game\\Kelvan_Game_1.reg"));
}

}  // namespace
