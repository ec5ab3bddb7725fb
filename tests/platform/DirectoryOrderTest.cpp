#include "platform/DirectoryOrder.h"

#include <gtest/gtest.h>

using namespace optera::platform;

TEST(DirectoryOrder, ComparesUpperCasedUtf16Units) {
    struct Row {
        const char* first;
        const char* second;
    };
    const Row rows[] = {
        {"alpha", "Beta"},      // letter case does not count
        {"Zeta", "_under"},     // '_' sorts after the upper-case letters, not before the lower
        {"a", "ab"},            // a prefix comes first
        {"zz", "\xe9t\xe9"},    // an accented letter after every ASCII letter
        {"\xe9t\xe9", "\x9a"},  // É (U+00C9) before Š (U+0160), though 0x9A < 0xE9 as bytes
        {"FILE", "file"},       // names NTFS could not hold side by side: by their bytes
    };
    for (const Row& row : rows) {
        EXPECT_TRUE(DirectoryOrderLess(row.first, row.second)) << row.first << " " << row.second;
        EXPECT_FALSE(DirectoryOrderLess(row.second, row.first)) << row.first << " " << row.second;
    }
    EXPECT_FALSE(DirectoryOrderLess("same", "same"));
}
