#include <gtest/gtest.h>

#include "text/Wildcard.h"

using optera::text::MatchesWildcard;

TEST(Wildcard, MatchesFileNamesAsWindowsDoes) {
    struct Row {
        const char* name;
        const char* pattern;
        bool matches;
    } rows[] = {
        {"game.cfg", "*.cfg", true},
        {"GAME.CFG", "*.cfg", true},
        {"game.cfg.bak", "*.cfg", false},
        {"a.b.cfg", "*.cfg", true},
        {"readme", "*.", true},
        {"readme.txt", "*.", false},
        {"readme", "*.*", true},
        {"readme.txt", "*.*", true},
        {"game", "game.*", true},
        {"game.exe", "game.*", true},
        {"games", "game.*", false},
        {"save1.sav", "save?.sav", true},
        {"save.sav", "save?.sav", true},
        {"save12.sav", "save?.sav", false},
        {"ab", "a??", true},
        {"abcd", "a??", false},
        {"anything", "*", true},
        {"", "*", true},
        {"x", "", false},
        {"Sample.txt", "sample.txt", true},
        {"profile1.cfg", "prof*1.cfg", true},
    };
    for (const Row& row : rows)
        EXPECT_EQ(MatchesWildcard(row.name, row.pattern), row.matches)
            << row.name << " ~ " << row.pattern;
}
