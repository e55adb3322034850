#pragma once

#include <zeb/foundation/Exception.hpp>

#include <pthread.h>

#include <atomic>
#include <cstdint>

namespace zeb::foundation {

/// Makes the object of a `LazyGlobal` from its initialisation parameter, which is passed on
/// unchanged: `T` decides what a NUL or null means.
/// @par Complexity that of building a `T`.
/// @par Thread safety as safe as building a `T` is; `LazyGlobal` calls it in one thread at a time.
template <typename T>
struct LazyGlobalFactory {
    /// A new `T`, built from `parameter`.
    static T* create(char const* parameter) { return new T(parameter); }
};

/// A global object that is built at its first use and destroyed when its library is unloaded.
///
/// It is a plain aggregate, initialised statically, so that loading the library runs no
/// constructor:
/// ```cpp
/// LazyGlobal<String> NAME = {"parameter", nullptr, 0, PTHREAD_MUTEX_INITIALIZER};
/// NAME.get() == "parameter"
/// ```
/// The members are public because an aggregate's are; use only `get()`. Destruction restores all of
/// them to their values at load. Globals of one source file are destroyed in reverse order.
///
/// @tparam Factory `create(char const*)` returns a new `T`; if it throws, the global stays unbuilt
/// @par Complexity one read of memory, plus building the object once.
/// @par Thread safety `get()` may be called by any number of threads; the object is built once. The
///   object itself is as safe as a `T` is, and destroying the global needs exclusive access.
template <typename T, typename Factory = LazyGlobalFactory<T>>
struct LazyGlobal {
    /// What the object is built from.
    char const* parameter;
    /// The object, null until its first use.
    T* object;
    /// 1 once `object` may be read.
    std::atomic<std::int32_t> built;
    /// Locked while the object is built.
    pthread_mutex_t mutex;

    /// The object; the first call builds it from the initialisation parameter.
    /// @throws any exception from building the object; the next call tries again
    T& get() {
        if (built.load(std::memory_order_acquire) == 0) {
            Lock const lock(mutex);
            if (built.load(std::memory_order_relaxed) == 0) {
                object = Factory::create(parameter);
                built.store(1, std::memory_order_release);
            }
        }
        return *object;
    }

    ~LazyGlobal() {
        detail::deleteLogged(object, "Caught exception in the LazyGlobal destructor");
        object = nullptr;
        built.store(0, std::memory_order_release);
        pthread_mutex_destroy(&mutex);
        static constexpr pthread_mutex_t INITIAL = PTHREAD_MUTEX_INITIALIZER;
        mutex = INITIAL;
        // Without it the optimiser drops the stores above, as a destroyed object may not be read.
        std::atomic_signal_fence(std::memory_order_seq_cst);
    }

private:
    class Lock {
    public:
        explicit Lock(pthread_mutex_t& mutex) noexcept : mutex_(mutex) {
            pthread_mutex_lock(&mutex_);
        }
        Lock(Lock const&) = delete;
        Lock& operator=(Lock const&) = delete;
        ~Lock() { pthread_mutex_unlock(&mutex_); }

    private:
        pthread_mutex_t& mutex_;
    };
};

}  // namespace zeb::foundation
