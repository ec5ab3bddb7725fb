#include <gtest/gtest.h>

#include <random>

#include "mainwindow/ExchangeSort.h"
#include "mainwindow/MainWindowLogic.h"

using optera::mainwindow::ExchangeSortOrder;

namespace {

// The exchange sort itself, whose order of ties the fast one must give.
template <typename T, typename KeyOf>
void SlowExchangeSort(std::vector<T>& items, KeyOf key) {
    for (std::size_t i = 0; i < items.size(); ++i)
        for (std::size_t j = i + 1; j < items.size(); ++j)
            if (key(items[j]) < key(items[i])) std::swap(items[i], items[j]);
}

}  // namespace

// Items are (key, original position); many ties, from one item to a few hundred.
TEST(ExchangeSort, GivesTheExchangeSortsOrderOfTies) {
    std::mt19937 random(20261125);
    auto key = [](const std::pair<int, int>& item) { return item.first; };
    for (int round = 0; round < 3000; ++round) {
        const int size = 1 + static_cast<int>(random() % (round < 2900 ? 14 : 300));
        const int distinct = 1 + static_cast<int>(random() % 6);
        std::vector<std::pair<int, int>> items;
        for (int i = 0; i < size; ++i) items.emplace_back(static_cast<int>(random() % distinct), i);
        auto expected = items;
        SlowExchangeSort(expected, key);
        ExchangeSortOrder(items, key);
        ASSERT_EQ(items, expected) << "round " << round;
    }
}

TEST(ExchangeSort, RecipeNamesDifferingInCaseKeepThatOrder) {
    std::vector<std::string> names = {"game.txt",  "Zulu.txt", "GAME.txt",  "Game-X.txt",
                                      "alpha.TXT", "Game.txt", "game2.txt", "ALPHA.txt"};
    auto expected = names;
    SlowExchangeSort(expected, [](const std::string& name) {
        std::string upper;
        for (char c : name.substr(0, name.size() - 4))
            upper += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        return upper;
    });
    optera::mainwindow::SortRecipeNames(names, ".txt");
    EXPECT_EQ(names, expected);
}
