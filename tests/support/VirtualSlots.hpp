#pragma once

#include <cxxabi.h>
#include <dlfcn.h>

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace zeb::test {

/// The functions in the first `count` virtual slots of an object, read from its compiled class:
/// their names as in C++, such as "zeb::foundation::Exception::what() const".
///
/// A virtual destructor takes two slots: for objects that are deleted and for those that are not.
/// Only functions that their library exports have a name.
template <typename T>
std::vector<std::string> virtualSlots(T const& object, std::size_t count) {
    void const* const* const table = *reinterpret_cast<void const* const* const*>(&object);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < count; ++i) {
        Dl_info info{};
        if (::dladdr(table[i], &info) == 0 || info.dli_sname == nullptr ||
            info.dli_saddr != table[i]) {
            names.emplace_back("no exported function");
            continue;
        }
        std::unique_ptr<char, void (*)(void*)> const name(
            abi::__cxa_demangle(info.dli_sname, nullptr, nullptr, nullptr), std::free);
        names.emplace_back(name ? name.get() : info.dli_sname);
    }
    return names;
}

}  // namespace zeb::test
