#include "support/QMArray.h"

#include <gtest/gtest.h>

#include <type_traits>

TEST(QMArray, StartsEmpty) {
    QMArray<int> array;
    EXPECT_TRUE(array.empty());
    EXPECT_EQ(array.size(), 0u);
}

TEST(QMArray, GrowingKeepsElementsAndZeroFillsNewOnes) {
    QMArray<int> array = {7, 8};
    array.resize(4);
    EXPECT_EQ(std::vector<int>(array.begin(), array.end()), (std::vector<int>{7, 8, 0, 0}));
}

TEST(QMArray, ResizeWithFillValue) {
    QMArray<char> array;
    array.resize(3, 1);
    array.push_back(0);
    EXPECT_EQ(std::vector<char>(array.begin(), array.end()), (std::vector<char>{1, 1, 1, 0}));
    EXPECT_EQ(array.back(), 0);
}

TEST(QMArray, IsTheStandardVectorWithNoFurtherState) {
    static_assert(std::is_base_of_v<std::vector<float>, QMArray<float>>);
    static_assert(sizeof(QMArray<float>) == sizeof(std::vector<float>));
    QMArray<float> array(2, 0.5f);
    array.clear();
    EXPECT_TRUE(array.empty());
}
