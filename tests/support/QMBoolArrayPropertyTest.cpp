#include "support/QMBoolArray.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

// Random operation sequences on QMBoolArray, each checked against a
// std::vector<bool> doing the same thing the simple way.

namespace {

using Model = std::vector<bool>;

// A 64-bit xorshift generator: fixed seeds give the same sequences on every build.
struct Random {
    std::uint64_t state;
    std::uint64_t next() {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state;
    }
    // Uniform enough in [low, high] for test purposes.
    int between(int low, int high) {
        return low + static_cast<int>(next() % static_cast<std::uint64_t>(high - low + 1));
    }
    bool coin() { return (next() >> 32) & 1; }
};

// A random array and its model. Half of them are shrunk from a larger,
// differently filled array so that storage beyond the count holds junk.
struct Pair {
    QMBoolArray array;
    Model model;
};

Pair randomPair(Random& random, int maxBits) {
    Pair pair;
    const int n = random.between(0, maxBits);
    if (random.coin()) {
        pair.array.assign(n + random.between(1, 20), random.coin());
        pair.array.resize(n, false);
    } else {
        pair.array.assign(n, false);
    }
    pair.model.assign(static_cast<std::size_t>(n), false);
    const int density = random.between(0, 4);
    for (int i = 0; i < n; ++i) {
        const bool bit = random.between(0, 3) < density;
        if (bit)
            pair.array.set(i);
        else
            pair.array.clear(i);
        pair.model[static_cast<std::size_t>(i)] = bit;
    }
    return pair;
}

int count(const Model& model, bool value, int from, int to) {
    int n = 0;
    for (int i = std::max(from, 0); i < std::min(to, static_cast<int>(model.size())); ++i)
        n += model[static_cast<std::size_t>(i)] == value;
    return n;
}

int findFirst(const Model& model, bool value, int from) {
    for (int i = std::max(from, 0); i < static_cast<int>(model.size()); ++i)
        if (model[static_cast<std::size_t>(i)] == value) return i;
    return -1;
}

int findLast(const Model& model, bool value, int from) {
    for (int i = std::min(from, static_cast<int>(model.size()) - 1); i >= 0; --i)
        if (model[static_cast<std::size_t>(i)] == value) return i;
    return -1;
}

std::vector<int> indexes(const Model& model, bool value) {
    std::vector<int> result;
    for (std::size_t i = 0; i < model.size(); ++i)
        if (model[i] == value) result.push_back(static_cast<int>(i));
    return result;
}

// Describes the first difference between the array and its model, "" when none.
std::string compare(const QMBoolArray& array, const Model& model) {
    const unsigned char* data = array.getData();
    if (data[-1] != 1) return "guard before damaged";
    if (data[array.getCapacity() / 8] != 1) return "guard after damaged";
    if (array.getCount() != static_cast<int>(model.size()))
        return "count " + std::to_string(array.getCount()) + " != " + std::to_string(model.size());
    if (array.getCapacity() < array.getCount()) return "capacity below count";
    for (int i = 0; i < array.getCount(); ++i)
        if (array.get(i) != model[static_cast<std::size_t>(i)]) return "bit " + std::to_string(i);
    if (array.get(array.getCount())) return "bit at the count reads set";
    return "";
}

std::vector<int> toVector(const QMArray<int>& array) { return std::vector<int>(array.begin(), array.end()); }

// Checks every query against the model, with random arguments.
void checkQueries(Random& random, const QMBoolArray& array, const Model& model) {
    const int n = static_cast<int>(model.size());
    ASSERT_EQ(array.getNumberOfBitSet(), count(model, true, 0, n));
    ASSERT_EQ(array.getNumberOfBitCleared(), count(model, false, 0, n));
    for (int k = 0; k < 4; ++k) {
        const bool value = random.coin();
        const int from = random.between(-10, n + 10);
        ASSERT_EQ(array.findFirst(value, from), findFirst(model, value, from)) << value << " from " << from;
        ASSERT_EQ(array.findLast(value, from), findLast(model, value, from)) << value << " from " << from;
        const int to = random.between(-10, n + 10);
        ASSERT_EQ(array.getNumberOfBitSetWithin(from, to), count(model, true, from, to)) << from << ".." << to;
        ASSERT_EQ(array.getNumberOfBitClearedWithin(from, to), count(model, false, from, to)) << from << ".." << to;
    }
    ASSERT_EQ(array.findFirst(true), findFirst(model, true, 0));
    ASSERT_EQ(array.findFirst(false), findFirst(model, false, 0));
    ASSERT_EQ(array.findLast(true), findLast(model, true, n));
    ASSERT_EQ(array.findLast(false), findLast(model, false, n));
    QMArray<int> list;
    array.getIndexesSet(list);
    ASSERT_EQ(toVector(list), indexes(model, true));
    array.getIndexesCleared(list);
    ASSERT_EQ(toVector(list), indexes(model, false));

    // Comparisons with a random other array, and with a copy.
    const Pair other = randomPair(random, n + 12);
    bool equal = model == other.model;
    ASSERT_EQ(array == other.array, equal);
    ASSERT_TRUE(array == QMBoolArray(array));
    const std::size_t common = std::min(model.size(), other.model.size());
    bool sameSets = true, inter = false;
    for (std::size_t i = 0; i < std::max(model.size(), other.model.size()); ++i) {
        const bool mine = i < model.size() && model[i];
        const bool theirs = i < other.model.size() && other.model[i];
        sameSets = sameSets && mine == theirs;
        inter = inter || (i < common && mine && theirs);
    }
    ASSERT_EQ(array.bitTest(other.array), sameSets);
    ASSERT_EQ(array.hasInter(other.array), inter);
}

// Applies one random operation to both the array and its model.
void applyRandomOperation(Random& random, QMBoolArray& array, Model& model, std::string& what) {
    const int n = static_cast<int>(model.size());
    const int op = random.between(0, 21);
    what = "op " + std::to_string(op);
    switch (op) {
        case 0:
        case 1:
        case 2: {
            if (n == 0) return;
            const int i = random.between(0, n - 1);
            const std::size_t at = static_cast<std::size_t>(i);
            if (op == 0) array.set(i), model[at] = true;
            if (op == 1) array.clear(i), model[at] = false;
            if (op == 2) array.toggle(i), model[at] = !model[at];
            break;
        }
        case 3:
        case 4:
        case 5: {
            const int i = random.between(-2, n + 20);
            if (i >= 0 && i >= n) model.resize(static_cast<std::size_t>(i) + 1, false);
            const std::size_t at = static_cast<std::size_t>(i);
            if (op == 3) array.setAutoResize(i);
            if (op == 4) array.clearAutoResize(i);
            if (op == 5) array.toggleAutoResize(i);
            if (i < 0) break;
            if (op == 3) model[at] = true;
            if (op == 4) model[at] = false;
            if (op == 5) model[at] = !model[at];
            break;
        }
        case 6: {
            const int size = random.between(-2, 130);
            const bool value = random.coin();
            const int capacity = array.getCapacity();
            const unsigned char* data = array.getData();
            array.resize(size, value);
            model.resize(static_cast<std::size_t>(std::max(size, 0)), value);
            if (size <= capacity)
                ASSERT_EQ(array.getData(), data);
            else
                ASSERT_EQ(array.getCapacity(), (size + 7) / 8 * 8);
            break;
        }
        case 7: {
            const int i = random.between(-2, n + 2);
            const bool value = random.coin();
            array.insert(i, value);
            if (i >= 0 && i < n) model.insert(model.begin() + i, value);
            break;
        }
        case 8: {
            const int i = random.between(-2, n + 2);
            array.erase(i);
            if (i >= 0 && i < n) model.erase(model.begin() + i);
            break;
        }
        case 9:
        case 10: {
            const int from = random.between(-6, n + 6);
            const int to = random.between(-6, n + 6);
            const bool value = op == 9;
            if (value)
                array.set(from, to);
            else
                array.clear(from, to);
            for (int i = std::max(from, 0); i < std::min(to, n); ++i) model[static_cast<std::size_t>(i)] = value;
            break;
        }
        case 11:
        case 12: {
            QMArray<int> indices;
            const int length = random.between(0, 12);
            for (int k = 0; k < length; ++k) indices.push_back(random.between(-40, n + 40));
            const bool value = op == 11;
            if (random.coin()) {
                if (value)
                    array.set(indices);
                else
                    array.clear(indices);
            } else {
                if (value)
                    array.set(length, indices.data());
                else
                    array.clear(length, indices.data());
            }
            for (int i : indices)
                if (i >= 0 && i < n) model[static_cast<std::size_t>(i)] = value;
            break;
        }
        case 13: {
            const Pair other = randomPair(random, n + 20);
            const int kind = random.between(0, 4);
            what += " kind " + std::to_string(kind);
            if (kind == 0) array.set(other.array);
            if (kind == 1) array.clear(other.array);
            if (kind == 2) array.toggle(other.array);
            if (kind == 3) array.merge(other.array);
            if (kind == 4) array.inter(other.array);
            if (kind == 3 && other.model.size() > model.size()) model.resize(other.model.size(), false);
            for (std::size_t i = 0; i < model.size(); ++i) {
                const bool theirs = i < other.model.size() && other.model[i];
                if (kind == 0 || kind == 3) model[i] = model[i] || theirs;
                if (kind == 1) model[i] = model[i] && !theirs;
                if (kind == 2) model[i] = model[i] != theirs;
                if (kind == 4) model[i] = model[i] && theirs;
            }
            ASSERT_EQ(compare(other.array, other.model), "");
            break;
        }
        case 14: {
            const int kind = random.between(0, 3);
            if (kind == 0) array.setAll();
            if (kind == 1) array.clearAll();
            if (kind == 2) array.toggleAll();
            if (kind == 3) array.inverse();
            for (std::size_t i = 0; i < model.size(); ++i) model[i] = kind == 0 ? true : kind == 1 ? false : !model[i];
            break;
        }
        case 15: {
            const int size = random.between(-1, 130);
            const bool value = random.coin();
            array.assign(size, value);
            model.assign(static_cast<std::size_t>(std::max(size, 0)), value);
            break;
        }
        case 16: {
            const int size = random.between(0, 130);
            std::vector<char> bytes(static_cast<std::size_t>((size + 7) / 8) + 1);
            for (char& byte : bytes) byte = static_cast<char>(random.next() & 0xFF);
            array.assign(size, bytes.data());
            model.assign(static_cast<std::size_t>(size), false);
            for (int i = 0; i < size; ++i)
                model[static_cast<std::size_t>(i)] =
                    (static_cast<unsigned char>(bytes[static_cast<std::size_t>(i / 8)]) >> (i % 8)) & 1;
            break;
        }
        case 17: {
            const int size = random.between(0, 130);
            std::vector<int> indices(static_cast<std::size_t>(random.between(0, 20)));
            for (int& index : indices) index = random.between(-5, size + 5);
            array.assign(size, indices.data(), static_cast<int>(indices.size()));
            model.assign(static_cast<std::size_t>(size), false);
            for (int i : indices)
                if (i >= 0 && i < size) model[static_cast<std::size_t>(i)] = true;
            break;
        }
        case 18: {
            Pair other = randomPair(random, 130);
            if (random.coin()) {
                array.copy(other.array);
                model = other.model;
            } else {
                array.swap(other.array);
                std::swap(model, other.model);
                ASSERT_EQ(compare(other.array, other.model), "");
            }
            break;
        }
        case 19: {
            if (random.coin()) {
                array.freeData();
                ASSERT_EQ(array.getData(), QMBoolArray().getData());
            } else {
                array.clearArray();
            }
            model.clear();
            break;
        }
        case 20:
        case 21: {
            const bool value = op == 20;
            QMArray<int> modified{-7};
            if (value)
                array.setAllModifiedIndices(modified);
            else
                array.clearAllModifiedIndices(modified);
            ASSERT_EQ(toVector(modified), indexes(model, !value));
            model.assign(model.size(), value);
            break;
        }
    }
}

}  // namespace

TEST(QMBoolArrayProperty, RandomSequencesMatchAVectorOfBool) {
    Random random{0x2545F4914F6CDD1Dull};
    for (int sequence = 0; sequence < 3000; ++sequence) {
        QMBoolArray array;
        Model model;
        for (int step = 0; step < 40; ++step) {
            std::string what;
            applyRandomOperation(random, array, model, what);
            ASSERT_FALSE(HasFatalFailure()) << "sequence " << sequence << " step " << step << " " << what;
            ASSERT_EQ(compare(array, model), "") << "sequence " << sequence << " step " << step << " " << what;
            checkQueries(random, array, model);
            ASSERT_FALSE(HasFatalFailure()) << "sequence " << sequence << " step " << step << " " << what;
        }
    }
}

TEST(QMBoolArrayProperty, LongArraysMatchAVectorOfBool) {
    Random random{0x0123456789ABCDEFull};
    for (int sequence = 0; sequence < 20; ++sequence) {
        Pair pair = randomPair(random, 5000);
        for (int step = 0; step < 200; ++step) {
            std::string what;
            const int n = static_cast<int>(pair.model.size());
            // Long insert/erase runs and sparse searches over many bytes.
            const int i = random.between(0, std::max(n - 1, 0));
            if (random.coin()) {
                const bool value = random.coin();
                pair.array.insert(i, value);
                if (i < n) pair.model.insert(pair.model.begin() + i, value);
            } else {
                pair.array.erase(i);
                if (i < n) pair.model.erase(pair.model.begin() + i);
            }
            if (step % 50 == 0) applyRandomOperation(random, pair.array, pair.model, what);
            ASSERT_EQ(compare(pair.array, pair.model), "") << sequence << " " << step << " " << what;
            checkQueries(random, pair.array, pair.model);
            ASSERT_FALSE(HasFatalFailure()) << sequence << " " << step;
        }
    }
}

TEST(QMBoolArrayProperty, EveryEmptyArraySharesOneBlockAndFreeingItDoesNothing) {
    QMBoolArray first;
    QMBoolArray second(0, false);
    QMBoolArray third(40, true);
    third.freeData();
    const unsigned char* shared = first.getData();
    EXPECT_EQ(second.getData(), shared);
    EXPECT_EQ(third.getData(), shared);
    first.freeData();
    first.freeData();
    second.clearArray();
    EXPECT_EQ(first.getData(), shared);
    EXPECT_EQ(shared[-1], 1);
    EXPECT_EQ(shared[0], 1);
    {
        QMBoolArray scoped;  // its destruction must leave the shared block alone
    }
    EXPECT_EQ(QMBoolArray().getData(), shared);
    EXPECT_EQ(shared[-1], 1);
    EXPECT_EQ(shared[0], 1);
}
