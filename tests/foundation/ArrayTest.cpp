#include <zeb/foundation/Array.hpp>
#include <zeb/foundation/Exception.hpp>
#include <zeb/foundation/String.hpp>

#include <Random.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <forward_list>
#include <memory>
#include <new>
#include <numeric>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zeb::foundation::Array;
using zeb::foundation::Exception;
using zeb::foundation::OutOfBoundsException;
using zeb::foundation::String;
using zeb::foundation::StringArray;

static_assert(std::is_nothrow_default_constructible_v<Array<String>>);
static_assert(std::is_nothrow_copy_constructible_v<Array<String>>);
static_assert(std::is_nothrow_copy_assignable_v<Array<String>>);
static_assert(std::is_nothrow_move_constructible_v<Array<String>>);
static_assert(std::is_nothrow_move_assignable_v<Array<String>>);
static_assert(std::is_nothrow_destructible_v<Array<String>>);
static_assert(std::is_nothrow_swappable_v<Array<String>>);
static_assert(std::is_same_v<StringArray, Array<String>>);

/// An element that counts what is done with all elements, and whose copies can be made to throw.
class Counted {
public:
    Counted(int number = 0) : value(number) { ++alive; }
    Counted(Counted const& other) : value(other.value) {
        throwWhenDue();
        ++copies;
        ++alive;
    }
    Counted(Counted&& other) noexcept : value(std::exchange(other.value, -1)) {
        ++moves;
        ++alive;
    }
    Counted& operator=(Counted const& other) {
        throwWhenDue();
        value = other.value;
        ++copies;
        return *this;
    }
    Counted& operator=(Counted&& other) noexcept {
        value = std::exchange(other.value, -1);
        ++moves;
        return *this;
    }
    ~Counted() { --alive; }

    friend bool operator==(Counted const& a, Counted const& b) { return a.value == b.value; }

    static void reset(int copiesUntilThrow = -1) {
        copies = 0;
        moves = 0;
        untilThrow = copiesUntilThrow;
    }

    int value;

    static inline int alive = 0;
    static inline int copies = 0;
    static inline int moves = 0;

private:
    static void throwWhenDue() {
        if (untilThrow == 0) {
            throw std::runtime_error("copy");
        }
        if (untilThrow > 0) {
            --untilThrow;
        }
    }

    static inline int untilThrow = -1;
};

/// An element whose move might throw, for all that the array knows, so that growing copies it.
class CopiedOnly {
public:
    CopiedOnly(int number = 0) : counted_(number) {}
    CopiedOnly(CopiedOnly const&) = default;
    CopiedOnly(CopiedOnly&& other) noexcept(false) : counted_(std::move(other.counted_)) {}
    CopiedOnly& operator=(CopiedOnly const&) = default;
    int value() const { return counted_.value; }

private:
    Counted counted_;
};

/// Expects that no element is left when a test is through.
class ArrayElements : public testing::Test {
protected:
    ArrayElements() {
        Counted::alive = 0;
        Counted::reset();
    }
    ~ArrayElements() override { EXPECT_EQ(Counted::alive, 0); }
};

std::vector<int> values(Array<Counted> const& array) {
    std::vector<int> result;
    for (Counted const& element : array) {
        result.push_back(element.value);
    }
    return result;
}

Array<Counted> numbered(int count) {
    Array<Counted> array;
    for (int i = 0; i < count; ++i) {
        array.append(Counted(i));
    }
    Counted::reset();
    return array;
}

// ---------------------------------------------------------------- construction

TEST(ArrayConstruction, DefaultIsEmpty) {
    Array<int> array;
    EXPECT_EQ(array.size(), 0u);
    EXPECT_TRUE(array.empty());
    EXPECT_EQ(array.capacity(), 0u);
    EXPECT_EQ(array.begin(), array.end());
    EXPECT_EQ(array.cbegin(), array.cend());
    EXPECT_EQ(array.data(), nullptr);
    EXPECT_EQ(std::as_const(array).data(), nullptr);
}

TEST(ArrayConstruction, InitializerListKeepsItsOrder) {
    Array<int> const array{3, 1, 2};
    EXPECT_THAT(array, ElementsAre(3, 1, 2));
    EXPECT_FALSE(array.empty());
    EXPECT_THAT((Array<int>{}), IsEmpty());
    EXPECT_THAT((StringArray{"a", "", "b"}), ElementsAre("a", "", "b"));
}

TEST(ArrayConstruction, CountAndValue) {
    EXPECT_THAT(Array<int>(3), ElementsAre(0, 0, 0));
    EXPECT_THAT(Array<int>(2, 7), ElementsAre(7, 7));
    EXPECT_THAT(Array<int>(0, 7), IsEmpty());
    EXPECT_THAT((StringArray(2, "x")), ElementsAre("x", "x"));
}

TEST(ArrayConstruction, IteratorsOfAllMultiPassKinds) {
    std::forward_list<int> const list{1, 2, 3};
    EXPECT_THAT((Array<int>(list.begin(), list.end())), ElementsAre(1, 2, 3));
    EXPECT_THAT((Array<long>(list.begin(), list.end())), ElementsAre(1, 2, 3));
    char const bytes[] = {'a', '\0', 'b'};
    EXPECT_THAT((Array<char>(bytes, bytes + 3)), ElementsAre('a', '\0', 'b'));
    EXPECT_THAT((Array<char>(bytes, bytes)), IsEmpty());
    Array<int> const array{4, 5, 6};
    EXPECT_THAT((Array<int>(array.begin() + 1, array.end())), ElementsAre(5, 6));
}

TEST_F(ArrayElements, AreDestroyedWhenOneCannotBeConstructed) {
    Counted const three[] = {1, 2, 3};
    for (int copies = 0; copies < 3; ++copies) {
        Counted::reset(copies);
        EXPECT_THROW(Array<Counted>(three, three + 3), std::runtime_error);
        EXPECT_EQ(Counted::alive, 3);
        Counted::reset(copies);
        EXPECT_THROW(Array<Counted>(3, three[0]), std::runtime_error);
        EXPECT_EQ(Counted::alive, 3);
    }
    Counted::reset(3);
    EXPECT_EQ((Array<Counted>(three, three + 3)).size(), 3u);
}

TEST(ArrayConstruction, AnImpossibleCountIsExhaustedMemory) {
    EXPECT_THROW((Array<std::uint64_t>(static_cast<std::size_t>(-1), 1)), std::bad_alloc);
    EXPECT_THROW((Array<std::uint64_t>(static_cast<std::size_t>(-1) / 8 + 2, 1)), std::bad_alloc);
    EXPECT_THROW((Array<char>(static_cast<std::size_t>(-1), 'a')), std::bad_alloc);
}

TEST(ArrayConstruction, ElementsAreAlignedAsTheirTypeNeeds) {
    Array<long double> const wide(3, 1.0L);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(wide.data()) % alignof(long double), 0u);
    Array<std::max_align_t> const widest(3);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(widest.data()) % alignof(std::max_align_t), 0u);
}

// ---------------------------------------------------------------- sharing

TEST_F(ArrayElements, AreSharedByCopies) {
    Array<Counted> const array = numbered(3);
    Array<Counted> const copy(array);
    Array<Counted> assigned = numbered(1);
    Counted::reset();
    assigned = array;
    EXPECT_EQ(copy.data(), array.data());
    EXPECT_EQ(std::as_const(assigned).data(), array.data());
    EXPECT_EQ(Counted::copies, 0);
    EXPECT_EQ(Counted::moves, 0);
}

TEST_F(ArrayElements, AreCopiedOnceByTheFirstChange) {
    Array<Counted> const array = numbered(3);
    Array<Counted> copy(array);
    copy[0] = Counted(9);
    EXPECT_EQ(Counted::copies, 3);
    copy[1] = Counted(8);
    EXPECT_EQ(Counted::copies, 3);
    EXPECT_THAT(values(copy), ElementsAre(9, 8, 2));
    EXPECT_THAT(values(array), ElementsAre(0, 1, 2));
}

TEST_F(ArrayElements, StayWhereTheyAreWhenReadByConstOperations) {
    Array<Counted> const array = numbered(3);
    Array<Counted> const copy(array);
    int sum = 0;
    for (Counted const& element : copy) {
        sum += element.value;
    }
    for (std::size_t i = 0; i < copy.size(); ++i) {
        sum += copy[i].value;
    }
    sum += static_cast<int>(copy.end() - copy.begin() + (copy.cend() - copy.cbegin()));
    EXPECT_TRUE(copy == array);
    EXPECT_EQ(sum, 12);
    EXPECT_EQ(copy.data(), array.data());
    EXPECT_EQ(Counted::copies, 0);
    EXPECT_EQ(Counted::moves, 0);
}

TEST_F(ArrayElements, AreDetachedByEveryOperationThatMayChangeThem) {
    using Operation = void (*)(Array<Counted>&);
    constexpr std::pair<char const*, Operation> ROWS[] = {
        {"operator[]", [](Array<Counted>& array) { array[1].value = 7; }},
        {"data", [](Array<Counted>& array) { array.data()[1].value = 7; }},
        {"begin", [](Array<Counted>& array) { array.begin()->value = 7; }},
        {"end", [](Array<Counted>& array) { (array.end() - 1)->value = 7; }},
        {"append", [](Array<Counted>& array) { array.append(7); }},
        {"push_back", [](Array<Counted>& array) { array.push_back(7); }},
        {"insert", [](Array<Counted>& array) { array.insert(1, 7); }},
        {"remove", [](Array<Counted>& array) { array.remove(1); }},
        {"remove several", [](Array<Counted>& array) { array.remove(0, 2); }},
        {"reserve", [](Array<Counted>& array) { array.reserve(2); }},
        {"clear", [](Array<Counted>& array) { array.clear(); }},
        {"swap", [](Array<Counted>& array) { Array<Counted>().swap(array); }},
    };
    for (auto const& [name, operation] : ROWS) {
        SCOPED_TRACE(name);
        Array<Counted> array = numbered(3);
        Array<Counted> const copy(array);
        operation(array);
        EXPECT_NE(std::as_const(array).data(), copy.data());
        EXPECT_THAT(values(copy), ElementsAre(0, 1, 2));
    }
}

TEST_F(ArrayElements, AreNotCopiedByChangesOfAnUnsharedArray) {
    Array<Counted> array = numbered(3);
    array.reserve(10);
    Counted const* const before = std::as_const(array).data();
    Counted::reset();
    array[0].value = 5;
    for (Counted& element : array) {
        ++element.value;
    }
    array.append(Counted(9));
    EXPECT_EQ(std::as_const(array).data(), before);
    EXPECT_EQ(Counted::copies, 0);
    EXPECT_THAT(values(array), ElementsAre(6, 2, 3, 9));
}

TEST_F(ArrayElements, SurviveTheArrayThatWasCopied) {
    Array<Counted> copy;
    {
        Array<Counted> const array = numbered(2);
        copy = array;
    }
    EXPECT_THAT(values(copy), ElementsAre(0, 1));
    EXPECT_EQ(Counted::alive, 2);
}

TEST_F(ArrayElements, MoveWithTheArray) {
    Array<Counted> array = numbered(2);
    Counted const* const elements = std::as_const(array).data();
    Array<Counted> moved(std::move(array));
    EXPECT_TRUE(array.empty());  // NOLINT(bugprone-use-after-move): what is left is promised
    EXPECT_EQ(std::as_const(moved).data(), elements);
    Array<Counted> assigned = numbered(4);
    assigned = std::move(moved);
    EXPECT_TRUE(moved.empty());  // NOLINT(bugprone-use-after-move): likewise
    EXPECT_EQ(std::as_const(assigned).data(), elements);
    EXPECT_EQ(Counted::alive, 2);
    swap(moved, assigned);
    EXPECT_EQ(std::as_const(moved).data(), elements);
    EXPECT_EQ(Counted::copies + Counted::moves, 0);
}

TEST_F(ArrayElements, StayInASelfAssignedArray) {
    Array<Counted> array = numbered(2);
    Array<Counted>& same = array;
    array = same;
    EXPECT_THAT(values(array), ElementsAre(0, 1));
    array = std::move(same);
    EXPECT_THAT(values(array), ElementsAre(0, 1));
}

// ---------------------------------------------------------------- bounds

/// Expects that `call` throws with exactly `message`.
template <typename Call>
void expectOutOfBounds(Call call, std::string const& message) {
    try {
        call();
        ADD_FAILURE() << "no exception; expected " << message;
    } catch (OutOfBoundsException const& exception) {
        EXPECT_EQ(exception.getMessage(), message);
        EXPECT_STREQ(exception.getFile(), "Array");
        EXPECT_EQ(exception.getSubclassCode(), Exception::NO_CODE);
        EXPECT_EQ(exception.getErrorCode(), Exception::NO_CODE);
        EXPECT_EQ(exception.getChained(), nullptr);
    }
}

TEST(ArrayBounds, ReadingAndWritingAreChecked) {
    Array<int> none;
    Array<int> array{1, 2, 3};
    std::size_t const last = static_cast<std::size_t>(-1);
    std::string const lastText = std::to_string(last);
    expectOutOfBounds([&] { (void)none[0]; }, "Index out of bounds: size 0, index 0");
    expectOutOfBounds([&] { (void)std::as_const(none)[0]; },
                      "Index out of bounds: size 0, index 0");
    expectOutOfBounds([&] { array[3] = 1; }, "Index out of bounds: size 3, index 3");
    expectOutOfBounds([&] { (void)std::as_const(array)[3]; },
                      "Index out of bounds: size 3, index 3");
    expectOutOfBounds([&] { (void)std::as_const(array)[last]; },
                      "Index out of bounds: size 3, index " + lastText);
    expectOutOfBounds([&] { array.insert(4, 1); }, "Index out of bounds: size 3, index 4");
    expectOutOfBounds([&] { array.remove(3); }, "Index out of bounds: size 3, index 3");
    expectOutOfBounds([&] { array.remove(5); }, "Index out of bounds: size 3, index 5");
    expectOutOfBounds([&] { array.remove(1, 3); }, "Index out of bounds: size 3, index 3");
    expectOutOfBounds([&] { array.remove(1, last); }, "Index out of bounds: size 3, index 3");
    expectOutOfBounds([&] { array.remove(4, 0); }, "Index out of bounds: size 3, index 4");
    EXPECT_THAT(array, ElementsAre(1, 2, 3));
    EXPECT_EQ(array[2], 3);
    EXPECT_EQ(std::as_const(array)[0], 1);
}

TEST(ArrayBounds, ARefusedWriteDoesNotDetach) {
    Array<int> array{1, 2, 3};
    Array<int> const copy(array);
    EXPECT_THROW(array[3] = 1, OutOfBoundsException);
    EXPECT_EQ(std::as_const(array).data(), copy.data());
}

// ---------------------------------------------------------------- append

TEST(ArrayAppend, KeepsTheOrder) {
    StringArray array;
    String const lvalue("b");
    array.append("a");
    array.append(lvalue);
    array.push_back("c");
    array.push_back(lvalue);
    EXPECT_THAT(array, ElementsAre("a", "b", "c", "b"));
}

TEST(ArrayAppend, TakesAnElementOfTheSameArray) {
    // At every fill of the memory, so that some of them move it; shared with a copy or not.
    for (std::size_t size = 1; size < 40; ++size) {
        for (bool const shared : {false, true}) {
            StringArray array;
            for (std::size_t i = 0; i < size; ++i) {
                array.append(String(std::to_string(i)));
            }
            StringArray const copy = shared ? array : StringArray();
            array.append(std::as_const(array)[0]);
            array.append(std::as_const(array)[size - 1]);
            ASSERT_EQ(array.size(), size + 2);
            EXPECT_EQ(array[0], "0");
            EXPECT_EQ(array[size], "0");
            EXPECT_EQ(array[size + 1], std::to_string(size - 1));
        }
    }
}

TEST_F(ArrayElements, AreMovedALinearNumberOfTimesByAppending) {
    constexpr int COUNT = 1000000;
    Array<Counted> array;
    std::size_t blocks = 0;
    for (int i = 0; i < COUNT; ++i) {
        std::size_t const before = array.capacity();
        array.append(Counted(i));
        blocks += array.capacity() != before;
    }
    EXPECT_EQ(array.size(), static_cast<std::size_t>(COUNT));
    EXPECT_EQ(Counted::copies, 0);
    // Each append moves its value, and doubling moves each element once more on average.
    EXPECT_LE(Counted::moves, 3 * COUNT);
    EXPECT_LE(blocks, 20u);
    EXPECT_LE(array.capacity(), 2u * COUNT);
    for (int i = 0; i < COUNT; ++i) {
        ASSERT_EQ(std::as_const(array)[static_cast<std::size_t>(i)].value, i);
    }
}

TEST(ArrayAppend, PlainElementsSurviveTheGrowth) {
    Array<int> array;
    for (int i = 0; i < 100000; ++i) {
        array.append(i);
    }
    std::vector<int> expected(100000);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), array.cbegin(), array.cend()));
}

TEST_F(ArrayElements, AreUnchangedWhenAppendThrows) {
    // Full or not, shared or not: each copy may fail.
    for (int const size : {0, 1, 3, 4, 5}) {
        for (bool const shared : {false, true}) {
            int failures = 0;
            for (int copies = 0;; ++copies) {
                Array<Counted> array = numbered(size);
                Array<Counted> const copy = shared ? array : Array<Counted>();
                Counted const value(99);
                std::vector<int> const before = values(array);
                Counted::reset(copies);
                try {
                    array.append(value);
                } catch (std::runtime_error const&) {
                    ++failures;
                    EXPECT_EQ(values(array), before);
                    if (shared) {
                        EXPECT_EQ(values(copy), before);
                    }
                    continue;
                }
                EXPECT_EQ(array.size(), static_cast<std::size_t>(size) + 1);
                EXPECT_EQ(values(array).back(), 99);
                break;
            }
            // The value alone, or with it each element that had to be copied.
            EXPECT_EQ(failures, shared ? size + 1 : 1);
        }
    }
}

TEST_F(ArrayElements, AreUnchangedWhenGrowingMustCopyAndThrows) {
    Array<CopiedOnly> array;
    while (array.size() < 4 || array.size() < array.capacity()) {
        array.append(CopiedOnly(static_cast<int>(array.size())));
    }
    std::size_t const size = array.size();
    CopiedOnly const value(99);
    for (int copies = 0; copies < static_cast<int>(size); ++copies) {
        Counted::reset(copies);
        ASSERT_THROW(array.append(value), std::runtime_error) << copies;
        Counted::reset(copies);
        ASSERT_THROW(array.reserve(100), std::runtime_error) << copies;
        ASSERT_EQ(array.size(), size);
        for (std::size_t i = 0; i < size; ++i) {
            ASSERT_EQ(std::as_const(array)[i].value(), static_cast<int>(i));
        }
    }
    Counted::reset();
    array.append(value);
    EXPECT_EQ(array[size].value(), 99);
}

TEST_F(ArrayElements, AreUnchangedWhenDetachingThrows) {
    using Operation = void (*)(Array<Counted>&);
    constexpr Operation OPERATIONS[] = {
        [](Array<Counted>& array) { array[0].value = 1; },
        [](Array<Counted>& array) { (void)array.begin(); },
        [](Array<Counted>& array) { (void)array.end(); },
        [](Array<Counted>& array) { (void)array.data(); },
        [](Array<Counted>& array) { array.reserve(1); },
        [](Array<Counted>& array) { array.remove(1); },
    };
    for (Operation const operation : OPERATIONS) {
        for (int copies = 0; copies < 3; ++copies) {
            Array<Counted> array = numbered(3);
            Array<Counted> const copy(array);
            Counted::reset(copies);
            EXPECT_THROW(operation(array), std::runtime_error);
            EXPECT_THAT(values(array), ElementsAre(0, 1, 2));
            EXPECT_EQ(std::as_const(array).data(), copy.data());
        }
    }
}

// ---------------------------------------------------------------- insert, remove, reserve, clear

TEST(ArrayInsert, PutsBeforeTheIndex) {
    for (std::size_t size = 0; size < 10; ++size) {
        for (std::size_t index = 0; index <= size; ++index) {
            std::vector<int> expected(size);
            std::iota(expected.begin(), expected.end(), 0);
            Array<int> array(expected.begin(), expected.end());
            array.insert(index, 99);
            expected.insert(expected.begin() + static_cast<std::ptrdiff_t>(index), 99);
            EXPECT_EQ((std::vector<int>(array.cbegin(), array.cend())), expected);
        }
    }
}

TEST(ArrayInsert, TakesAnElementOfTheSameArray) {
    StringArray array{"a", "b", "c"};
    for (int i = 0; i < 10; ++i) {
        array.insert(0, std::as_const(array)[array.size() - 1]);
    }
    EXPECT_EQ(array.size(), 13u);
    EXPECT_EQ(array[0], "c");
    EXPECT_EQ(array[9], "c");
    EXPECT_EQ(array[10], "a");
}

TEST_F(ArrayElements, LoseOrDoubleNothingWhenInsertThrows) {
    // The value is copied by the caller's side; with a shared array the elements are copied too.
    for (int copies = 0; copies < 4; ++copies) {
        Array<Counted> array = numbered(3);
        Array<Counted> const copy(array);
        Counted const value(99);
        Counted::reset(copies);
        EXPECT_THROW(array.insert(1, value), std::runtime_error);
        EXPECT_THAT(values(array), ElementsAre(0, 1, 2));
        EXPECT_THAT(values(copy), ElementsAre(0, 1, 2));
    }
}

TEST_F(ArrayElements, StayValidWhenRemoveThrows) {
    // Elements without a move assignment are copied one place down; the third such copy fails.
    Array<CopiedOnly> array;
    for (int i = 0; i < 6; ++i) {
        array.append(CopiedOnly(i));
    }
    Counted::reset(2);
    EXPECT_THROW(array.remove(0), std::runtime_error);
    Counted::reset();
    EXPECT_EQ(array.size(), 6u);
    for (CopiedOnly const& element : std::as_const(array)) {
        EXPECT_GE(element.value(), 0);
        EXPECT_LT(element.value(), 6);
    }
    array.remove(0, 6);
    EXPECT_TRUE(array.empty());
}

TEST(ArrayRemove, TakesOutAnyRange) {
    for (std::size_t size = 0; size < 8; ++size) {
        for (std::size_t index = 0; index <= size; ++index) {
            for (std::size_t count = 0; count <= size - index; ++count) {
                std::vector<int> expected(size);
                std::iota(expected.begin(), expected.end(), 0);
                Array<int> array(expected.begin(), expected.end());
                array.remove(index, count);
                auto const first = expected.begin() + static_cast<std::ptrdiff_t>(index);
                expected.erase(first, first + static_cast<std::ptrdiff_t>(count));
                EXPECT_EQ((std::vector<int>(array.cbegin(), array.cend())), expected);
            }
        }
    }
}

TEST(ArrayConstruction, PlainElementsAreCopiedWhateverTheirNumber) {
    for (std::size_t size = 0; size < 40; ++size) {
        std::vector<unsigned short> expected(size);
        std::iota(expected.begin(), expected.end(), static_cast<unsigned short>(0xFFF0));
        Array<unsigned short> const array(expected.begin(), expected.end());
        Array<unsigned short> changed = array;
        (void)changed.data();
        EXPECT_EQ(std::vector<unsigned short>(changed), expected);
        Array<long> const widened(expected.begin(), expected.end());
        EXPECT_TRUE(std::equal(widened.begin(), widened.end(), expected.begin(), expected.end()));
        EXPECT_EQ(std::vector<unsigned short>(Array<unsigned short>(size, 7)),
                  std::vector<unsigned short>(size, 7));
    }
    EXPECT_EQ(Array<unsigned char>(std::string_view("\x80\0\xFF", 3)),
              (Array<unsigned char>{0x80, 0, 0xFF}));
}

TEST_F(ArrayElements, AreDestroyedWhenRemoved) {
    Array<Counted> array = numbered(5);
    array.remove(1, 2);
    EXPECT_EQ(Counted::alive, 3);
    EXPECT_THAT(values(array), ElementsAre(0, 3, 4));
    array.remove(2);
    EXPECT_EQ(Counted::alive, 2);
    EXPECT_EQ(Counted::copies, 0);
}

TEST_F(ArrayElements, OfASharedArrayAreNotDetachedToRemoveNothing) {
    Array<Counted> array = numbered(2);
    Array<Counted> const copy(array);
    array.remove(1, 0);
    EXPECT_EQ(std::as_const(array).data(), copy.data());
}

TEST(ArrayReserve, MakesRoomAndNeverTakesItAway) {
    Array<int> array{1, 2, 3};
    array.reserve(100);
    EXPECT_GE(array.capacity(), 100u);
    int const* const elements = std::as_const(array).data();
    while (array.size() < 100) {
        array.append(0);
    }
    EXPECT_EQ(std::as_const(array).data(), elements);
    array.reserve(1);
    EXPECT_GE(array.capacity(), 100u);
    EXPECT_EQ(array.size(), 100u);
    EXPECT_THROW(array.reserve(static_cast<std::size_t>(-1)), std::bad_alloc);
    EXPECT_EQ(array.size(), 100u);
    EXPECT_EQ(array[2], 3);
}

TEST_F(ArrayElements, AreDestroyedByClear) {
    Array<Counted> array = numbered(5);
    array.clear();
    EXPECT_TRUE(array.empty());
    EXPECT_EQ(Counted::alive, 0);
    array.append(Counted(1));
    EXPECT_THAT(values(array), ElementsAre(1));
}

// ---------------------------------------------------------------- comparison

TEST(ArrayComparison, ComparesElements) {
    StringArray const array{"a", "b"};
    StringArray const copy(array);
    EXPECT_TRUE(array == copy);
    EXPECT_TRUE(array == (StringArray{"a", "b"}));
    EXPECT_FALSE(array != (StringArray{"a", "b"}));
    EXPECT_TRUE(array != (StringArray{"a", "c"}));
    EXPECT_TRUE(array != (StringArray{"a"}));
    EXPECT_TRUE(array != StringArray());
    EXPECT_TRUE(StringArray() == StringArray());
    StringArray emptied{"a"};
    emptied.remove(0);
    EXPECT_TRUE(emptied == StringArray());
}

// ---------------------------------------------------------------- everything together

TEST(Array, AgreesWithTheStandardVectorOnRandomOperations) {
    zeb::test::Random random(3);
    StringArray array;
    std::vector<std::string> expected;
    StringArray copy;
    std::vector<std::string> expectedOfCopy;
    for (int i = 0; i < 20000; ++i) {
        std::string const text = std::to_string(i);
        std::size_t const index = random.between(0, expected.size());
        auto const place = expected.begin() + static_cast<std::ptrdiff_t>(index);
        switch (random.below(8)) {
            case 0:
            case 1:
                array.append(text);
                expected.push_back(text);
                break;
            case 2:
                array.insert(index, text);
                expected.insert(place, text);
                break;
            case 3:
                if (index < expected.size()) {
                    array.remove(index);
                    expected.erase(place);
                }
                break;
            case 4:
                if (index < expected.size()) {
                    array[index] = text;
                    *place = text;
                }
                break;
            case 5:
                copy = array;
                expectedOfCopy = expected;
                break;
            case 6:
                array.swap(copy);
                expected.swap(expectedOfCopy);
                break;
            default:
                if (expected.size() > 50) {
                    std::size_t const count = random.between(0, expected.size() - index);
                    array.remove(index, count);
                    expected.erase(place, place + static_cast<std::ptrdiff_t>(count));
                }
                break;
        }
        ASSERT_TRUE(std::equal(array.cbegin(), array.cend(), expected.begin(), expected.end()))
            << i;
        ASSERT_TRUE(
            std::equal(copy.cbegin(), copy.cend(), expectedOfCopy.begin(), expectedOfCopy.end()))
            << i;
    }
}

}  // namespace
