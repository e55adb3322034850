#pragma once

#include <zeb/foundation/Exception.hpp>

#include <atomic>
#include <cstddef>
#include <utility>

namespace zeb::foundation {

/// Base of objects that carry their own reference count; see `IntrusiveReference`.
/// @par Complexity constant.
/// @par Thread safety the count changes atomically; copying and assigning do not change it.
class ZEB_EXPORT IntrusiveCounted {
public:
    IntrusiveCounted() noexcept = default;
    /// The count belongs to the object, not to its value: a copy starts at 0.
    IntrusiveCounted(IntrusiveCounted const&) noexcept {}
    /// The count is unchanged.
    IntrusiveCounted& operator=(IntrusiveCounted const&) noexcept { return *this; }

protected:
    ~IntrusiveCounted() = default;

private:
    template <typename T>
    friend class IntrusiveReference;

    std::atomic<std::size_t> references_{0};
};

/// A counted reference to a `T`, which derives from `IntrusiveCounted`; it may be null.
///
/// The object is destroyed with its last reference. An exception from its destructor is logged and
/// caught.
/// @par Complexity constant, except for destroying the object.
/// @par Thread safety counts change atomically, so references to one object may be copied and
///   dropped by several threads; one reference needs exclusive access to be changed.
template <typename T>
class IntrusiveReference {
public:
    IntrusiveReference() noexcept = default;
    /// A reference to `object`, which was made by `new`; null is allowed.
    explicit IntrusiveReference(T* object) noexcept : object_(object) { acquire(); }
    /// Another reference to the same object.
    IntrusiveReference(IntrusiveReference const& other) noexcept : object_(other.object_) {
        acquire();
    }
    /// The moved-from reference is null.
    IntrusiveReference(IntrusiveReference&& other) noexcept
        : object_(std::exchange(other.object_, nullptr)) {}
    /// Drops the present object for that of `other`.
    IntrusiveReference& operator=(IntrusiveReference const& other) noexcept {
        IntrusiveReference(other).swap(*this);
        return *this;
    }
    /// Drops the present object for that of `other`, which becomes null.
    IntrusiveReference& operator=(IntrusiveReference&& other) noexcept {
        IntrusiveReference(std::move(other)).swap(*this);
        return *this;
    }
    ~IntrusiveReference() {
        if (object_ == nullptr ||
            object_->references_.fetch_sub(1, std::memory_order_acq_rel) != 1) {
            return;
        }
        detail::deleteLogged(object_, "Caught exception in the IntrusiveReference destructor");
    }

    /// Constant time; no count changes.
    void swap(IntrusiveReference& other) noexcept { std::swap(object_, other.object_); }

    /// The object, or null.
    [[nodiscard]] T* get() const noexcept { return object_; }
    /// The object, which must not be null.
    T* operator->() const noexcept { return object_; }
    /// The object, which must not be null.
    T& operator*() const noexcept { return *object_; }
    /// Whether there is an object.
    explicit operator bool() const noexcept { return object_ != nullptr; }

private:
    void acquire() noexcept {
        if (object_ != nullptr) {
            object_->references_.fetch_add(1, std::memory_order_relaxed);
        }
    }

    T* object_ = nullptr;
};

}  // namespace zeb::foundation
