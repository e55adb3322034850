#pragma once

#include <zeb/foundation/Export.hpp>
#include <zeb/foundation/Memory.hpp>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

/// @file
/// The copy-on-write growable array that the library takes and returns as a list.

namespace zeb::foundation {

namespace detail {
/// Throws OutOfBoundsException for an access to element `index` of an array of `size` elements.
[[noreturn]] ZEB_EXPORT void throwOutOfBounds(std::size_t size, std::size_t index);

/// Not API: makes arrays without writing their elements.
struct UnwrittenArray;
}  // namespace detail

/// A growable array whose copies share their elements until one of them is changed.
///
/// A copy costs one atomic increment and never throws. A call that may change elements (any
/// non-const operation except assignment and destruction) first copies them when they are shared
/// (it "detaches"). Reading through const operations never detaches and touches no reference count,
/// so `for (T const& x : constArray)` runs over plain memory.
///
/// @par Exceptions
/// `std::bad_alloc` where memory is needed, and any exception from copying a `T`; the array is
/// unchanged after an exception from `append`, `reserve` and detaching, and contains valid but
/// unspecified elements after one from `insert` and `remove`.
/// @par Complexity constant unless said otherwise; making an array of given elements, detaching,
/// `reserve`, `clear` and destruction are linear in the number of elements. The locale has no
/// influence.
/// @par Thread safety
/// One object may be read by several threads at once; changing it needs exclusive access. Copies
/// are independent objects, even while they share elements.
/// @par Copies and references
/// A reference or iterator from a non-const operation points into memory that a later copy will
/// share. Do not write through it once the array has been copied.
template <typename T>
class ZEB_EXPORT Array {
    static_assert(alignof(T) <= alignof(std::max_align_t), "over-aligned elements");

public:
    /// Type of an element.
    using value_type = T;
    /// Type of sizes and indexes.
    using size_type = std::size_t;
    /// An element that may be written.
    using reference = T&;
    /// An element to be read.
    using const_reference = T const&;
    /// A plain pointer.
    using iterator = T*;
    /// A plain pointer.
    using const_iterator = T const*;
    /// Type of differences of iterators.
    using difference_type = std::ptrdiff_t;
    /// From the last element to the first.
    using reverse_iterator = std::reverse_iterator<iterator>;
    /// From the last element to the first, for reading.
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;

    /// An empty array; allocates nothing.
    Array() noexcept = default;

    /// The elements of `elements`, in order.
    Array(std::initializer_list<T> elements) : Array(elements.begin(), elements.end()) {}

    /// `count` copies of `value`.
    explicit Array(size_type count, T const& value = T()) {
        Builder building(count);
        building.fill(count, value);
        block_ = building.release();
    }

    /// Copies of the elements of [first, last), in order.
    template <
        typename Iterator,
        typename = std::enable_if_t<std::is_convertible_v<
            typename std::iterator_traits<Iterator>::iterator_category, std::forward_iterator_tag>>>
    Array(Iterator first, Iterator last) {
        Builder building(static_cast<size_type>(std::distance(first, last)));
        building.copy(first, last);
        block_ = building.release();
    }

    /// Copies of the elements of `elements`, in order.
    explicit Array(std::vector<T> const& elements) : Array(elements.begin(), elements.end()) {}

    /// The bytes of a text, for arrays of characters only: passes a text that was read to a
    /// converter that takes bytes.
    /// ```cpp
    /// convertToUTF8(Array<char>(String("\xFE\xFF\0A", 4))) == "A"
    /// convertToUTF8(Array<char>(std::vector<char>{'\xFF', '\xFE'})) == ""
    /// ```
    template <typename Byte = T,
              typename = std::enable_if_t<std::is_same_v<Byte, T> && std::is_integral_v<T> &&
                                          !std::is_same_v<T, bool> && sizeof(T) == 1>>
    explicit Array(std::string_view bytes) {
        Builder building(bytes.size());
        building.copy(bytes.begin(), bytes.end());
        block_ = building.release();
    }

    /// Shares the elements of `other`. Constant time.
    Array(Array const& other) noexcept : block_(other.block_) {
        if (block_ != nullptr) {
            block_->references.fetch_add(1, std::memory_order_relaxed);
        }
    }

    /// The moved-from array is empty.
    Array(Array&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}

    /// Shares the elements of `other`. Constant time, except for destroying the present elements.
    Array& operator=(Array const& other) noexcept {
        Array(other).swap(*this);
        return *this;
    }

    /// The moved-from array is empty.
    Array& operator=(Array&& other) noexcept {
        Array(std::move(other)).swap(*this);
        return *this;
    }

    ~Array() { release(block_); }

    /// Constant time.
    void swap(Array& other) noexcept { std::swap(block_, other.block_); }

    /// Number of elements.
    [[nodiscard]] size_type size() const noexcept { return block_ == nullptr ? 0 : block_->size; }
    /// Whether there is no element.
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }

    /// Copies of the elements, in order.
    explicit operator std::vector<T>() const { return std::vector<T>(begin(), end()); }

    /// Elements that fit without another allocation.
    [[nodiscard]] size_type capacity() const noexcept {
        return block_ == nullptr ? 0 : block_->capacity;
    }

    /// Element `index`, 0-based.
    /// @throws OutOfBoundsException when `index` is not less than `size()`; the message contains
    ///   both
    [[nodiscard]] T const& operator[](size_type index) const {
        checkIndex(index);
        return block_->elements()[index];
    }

    /// Element `index`, for changing it; detaches.
    /// @throws OutOfBoundsException when `index` is not less than `size()`
    [[nodiscard]] T& operator[](size_type index) {
        checkIndex(index);
        detach();
        return block_->elements()[index];
    }

    /// The first element.
    /// @throws OutOfBoundsException when there is none
    [[nodiscard]] T const& front() const { return (*this)[0]; }
    /// The first element, for changing it; detaches.
    /// @throws OutOfBoundsException when there is none
    [[nodiscard]] T& front() { return (*this)[0]; }
    /// The last element.
    /// @throws OutOfBoundsException when there is none
    [[nodiscard]] T const& back() const { return (*this)[lastIndex()]; }
    /// The last element, for changing it; detaches.
    /// @throws OutOfBoundsException when there is none
    [[nodiscard]] T& back() { return (*this)[lastIndex()]; }

    /// The elements as plain memory; null while the array has none.
    [[nodiscard]] T const* data() const noexcept {
        return block_ == nullptr ? nullptr : block_->elements();
    }
    /// The elements as plain memory that may be written; detaches.
    [[nodiscard]] T* data() {
        detach();
        return block_ == nullptr ? nullptr : block_->elements();
    }

    /// The first element, for reading; never detaches.
    [[nodiscard]] const_iterator begin() const noexcept { return data(); }
    /// After the last element; never detaches.
    [[nodiscard]] const_iterator end() const noexcept { return data() + size(); }
    /// `begin()` of a const array.
    [[nodiscard]] const_iterator cbegin() const noexcept { return begin(); }
    /// `end()` of a const array.
    [[nodiscard]] const_iterator cend() const noexcept { return end(); }
    /// Iterators that may write; they detach.
    [[nodiscard]] iterator begin() { return data(); }
    /// After the last element; detaches.
    [[nodiscard]] iterator end() { return data() + size(); }
    /// The last element, from which they are read backwards; never detaches.
    [[nodiscard]] const_reverse_iterator rbegin() const noexcept {
        return const_reverse_iterator(end());
    }
    /// Before the first element; never detaches.
    [[nodiscard]] const_reverse_iterator rend() const noexcept {
        return const_reverse_iterator(begin());
    }
    /// The last element, from which they may be written backwards; detaches.
    [[nodiscard]] reverse_iterator rbegin() { return reverse_iterator(end()); }
    /// Before the first element; detaches.
    [[nodiscard]] reverse_iterator rend() { return reverse_iterator(begin()); }

    /// Adds `value`, which may be an element of this array, at the end; amortised constant time.
    void append(T const& value) { emplaceBack(value); }
    /// Adds `value` at the end by moving it; amortised constant time.
    void append(T&& value) { emplaceBack(std::move(value)); }
    /// The standard containers' name of `append`.
    void push_back(T const& value) { emplaceBack(value); }
    /// The standard containers' name of `append`.
    void push_back(T&& value) { emplaceBack(std::move(value)); }

    /// Adds an element made from `arguments`, which may be elements of this array, at the end;
    /// amortised constant time.
    /// @return the element
    template <typename... Arguments>
    T& emplace_back(Arguments&&... arguments) {
        emplaceBack(std::forward<Arguments>(arguments)...);
        return block_->elements()[block_->size - 1];
    }

    /// Removes the last element.
    /// @throws OutOfBoundsException when there is none
    void pop_back() { remove(lastIndex()); }

    /// Puts `value` before element `index`; `index` equal to `size()` appends. Linear time.
    /// @throws OutOfBoundsException when `index` is greater than `size()`
    void insert(size_type index, T value) {
        if (index > size()) {
            detail::throwOutOfBounds(size(), index);
        }
        emplaceBack(std::move(value));
        T* const elements = block_->elements();
        for (size_type i = block_->size - 1; i > index; --i) {
            std::swap(elements[i], elements[i - 1]);
        }
    }

    /// Removes element `index`. Linear time.
    /// @throws OutOfBoundsException when `index` is not less than `size()`
    void remove(size_type index) { remove(index, 1); }

    /// Removes `count` elements from `index` on. Linear time for any `count`.
    /// @throws OutOfBoundsException when not all of them exist; the message contains the first
    ///   index without an element, and nothing is removed
    void remove(size_type index, size_type count) {
        if (index > size() || count > size() - index) {
            detail::throwOutOfBounds(size(), index > size() ? index : size());
        }
        if (count == 0) {
            return;
        }
        detach();
        T* const elements = block_->elements();
        std::move(elements + index + count, elements + block_->size, elements + index);
        size_type const kept = block_->size - count;
        std::destroy(elements + kept, elements + block_->size);
        block_->size = kept;
    }

    /// Removes the element at `position`, a valid iterator of this array. Linear time.
    /// @return an iterator to the element after it
    /// @throws OutOfBoundsException for `end()`
    iterator erase(const_iterator position) {
        auto const index = static_cast<size_type>(position - cbegin());
        remove(index);
        return begin() + index;
    }
    /// Removes the elements of [first, last), valid iterators of this array. Linear time.
    /// @return an iterator to the element after them
    iterator erase(const_iterator first, const_iterator last) {
        auto const index = static_cast<size_type>(first - cbegin());
        remove(index, static_cast<size_type>(last - first));
        return begin() + index;
    }

    /// Makes room for a total of `count` elements.
    void reserve(size_type count) {
        if (count > capacity() || isShared()) {
            reallocate(count < size() ? size() : count);
        }
    }

    /// Removes all elements.
    void clear() noexcept { Array().swap(*this); }

    /// Whether both contain equal elements in the same order. Constant time for copies that still
    /// share them, otherwise linear.
    friend bool operator==(Array const& a, Array const& b) {
        if (a.block_ == b.block_) {
            return true;
        }
        if (a.size() != b.size()) {
            return false;
        }
        for (size_type i = 0; i < a.size(); ++i) {
            if (!(a.block_->elements()[i] == b.block_->elements()[i])) {
                return false;
            }
        }
        return true;
    }
    /// The opposite of `==`.
    friend bool operator!=(Array const& a, Array const& b) { return !(a == b); }
    /// Whether `a` comes before `b`: by the first elements that differ, or as the shorter one.
    /// Linear time.
    friend bool operator<(Array const& a, Array const& b) {
        return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
    }
    /// Whether `a` comes after `b`.
    friend bool operator>(Array const& a, Array const& b) { return b < a; }
    /// Whether `a` does not come after `b`.
    friend bool operator<=(Array const& a, Array const& b) { return !(b < a); }
    /// Whether `a` does not come before `b`.
    friend bool operator>=(Array const& a, Array const& b) { return !(a < b); }

    // ---------------------------------------------------------------- not API

private:
    friend struct detail::UnwrittenArray;

    /// Header of the single allocation; the elements follow it.
    struct alignas(alignof(std::max_align_t)) Block {
        std::atomic<size_type> references{1};
        size_type size{0};
        size_type capacity;

        explicit Block(size_type room) noexcept : capacity(room) {}
        T* elements() noexcept { return reinterpret_cast<T*>(this + 1); }
    };

    static Block* allocate(size_type capacity) {
        void* const memory =
            detail::allocateBlock(detail::blockSize(sizeof(Block), capacity, sizeof(T)));
        return ::new (memory) Block(capacity);
    }

    static void release(Block* block) noexcept {
        if (block != nullptr && block->references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            std::destroy_n(block->elements(), block->size);
            detail::freeBlock(block);
        }
    }

    /// A block under construction, given back if an element's constructor throws.
    class Builder {
    public:
        explicit Builder(size_type capacity)
            : block_(capacity == 0 ? nullptr : allocate(capacity)) {}
        Builder(Builder const&) = delete;
        Builder& operator=(Builder const&) = delete;
        ~Builder() { Array::release(block_); }
        /// Fills the block, which is still empty, with `count` copies of `value`. What throws
        /// leaves it empty.
        void fill(size_type count, T const& value) {
            if (block_ != nullptr) {
                std::uninitialized_fill_n(block_->elements(), count, value);
                block_->size = count;
            }
        }
        /// Gives the empty block the elements of [first, last), moved where the iterators do so.
        /// What throws leaves it empty.
        template <typename Iterator>
        void copy(Iterator first, Iterator last) {
            if (block_ != nullptr) {
                T* const elements = block_->elements();
                T* const end = std::uninitialized_copy(first, last, elements);
                block_->size = static_cast<size_type>(end - elements);
            }
        }
        Block* release() noexcept { return std::exchange(block_, nullptr); }

    private:
        Block* block_;
    };

    void checkIndex(size_type index) const {
        if (index >= size()) {
            detail::throwOutOfBounds(size(), index);
        }
    }

    /// Index of the last element; 0, which is out of bounds, when there is none.
    size_type lastIndex() const noexcept { return empty() ? 0 : size() - 1; }

    bool isShared() const noexcept {
        return block_ != nullptr && block_->references.load(std::memory_order_acquire) != 1;
    }

    void detach() {
        if (isShared()) {
            reallocate(block_->size);
        }
    }

    /// Moves the elements (copies them when they are shared) into a block of `capacity`.
    void reallocate(size_type capacity) {
        bool const shared = isShared();
        if constexpr (std::is_trivially_copyable_v<T>) {
            if (!shared && block_ != nullptr) {
                block_ = static_cast<Block*>(detail::resizeBlock(
                    block_, detail::blockSize(sizeof(Block), capacity, sizeof(T))));
                block_->capacity = capacity;
                return;
            }
        }
        Builder building(capacity);
        if (block_ != nullptr) {
            T* const first = block_->elements();
            T* const last = first + block_->size;
            if (shared || !std::is_nothrow_move_constructible_v<T>) {
                building.copy(static_cast<T const*>(first), static_cast<T const*>(last));
            } else {
                building.copy(std::make_move_iterator(first), std::make_move_iterator(last));
            }
        }
        release(std::exchange(block_, building.release()));
    }

    template <typename... Arguments>
    void emplaceBack(Arguments&&... arguments) {
        if (block_ != nullptr && block_->size < block_->capacity && !isShared()) {
            ::new (static_cast<void*>(block_->elements() + block_->size))
                T(std::forward<Arguments>(arguments)...);
            ++block_->size;
            return;
        }
        // An argument may be one of the elements that are about to move.
        T copy(std::forward<Arguments>(arguments)...);
        reallocate(size() < capacity() ? capacity()
                                       : detail::grownCapacity(capacity(), size() + 4));
        ::new (static_cast<void*>(block_->elements() + block_->size)) T(std::move(copy));
        ++block_->size;
    }

    Block* block_ = nullptr;
};

struct detail::UnwrittenArray {
    /// An array of `count` elements whose values are unspecified, for callers that write each of
    /// them before it is read.
    template <typename T>
    [[nodiscard]] static Array<T> make(std::size_t count) {
        static_assert(std::is_trivial_v<T>, "elements must live without a constructor");
        Array<T> array;
        if (count != 0) {
            array.block_ = Array<T>::allocate(count);
            array.block_->size = count;
        }
        return array;
    }
};

/// Constant time.
template <typename T>
void swap(Array<T>& a, Array<T>& b) noexcept {
    a.swap(b);
}

}  // namespace zeb::foundation
