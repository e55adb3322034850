#pragma once

#include <OrventoCommonRegex.hpp>
#include <OrventoTextOperations.hpp>
#include <OrventoXMLOperations.hpp>

#include <vector>

#include "TemporaryDirectory.hpp"

/// @file
/// At least one use of each public function: what tests of faults, and of what calls leave in their
/// process, have in common.

namespace zeb::test {

/// A reference to something callable; std::function takes several times as long to compile.
class Action {
public:
    template <typename Function>
    Action(Function const& function)
        : function_(&function),
          call_([](void const* called) { (*static_cast<Function const*>(called))(); }) {}

    void operator()() const { call_(function_); }

private:
    void const* function_;
    void (*call_)(void const* function);
};

/// What is done to the calls: a test fails their allocations, or looks what they change.
class Attempt {
public:
    Attempt() = default;
    Attempt(Attempt const&) = delete;
    Attempt& operator=(Attempt const&) = delete;
    virtual ~Attempt() = default;

    /// Runs `action`, the call alone without what prepares and checks it.
    /// @return false when it threw std::bad_alloc
    virtual bool operator()(Action const& action) = 0;
};

/// What the calls are given. None of them changes it, whether it succeeds or fails.
struct Inputs {
    Inputs();

    /// Whether all of it is as on the first day.
    bool isUntouched() const;

    foundation::String text;
    foundation::String separator;
    foundation::StringArray words;
    ZEBNS2::RegularExpression expression;
    foundation::String xml;
    xmltoolkit::XMLNode node;
    foundation::Array<char> utf16;
    foundation::Array<unsigned short> units;
    std::vector<char> environment;
    foundation::Exception exception;
    TemporaryDirectory directory;
    foundation::String file;
};

/// A function and a use of it.
struct PublicCall {
    /// As in the symbol tables, without parameters, template arguments and return type.
    char const* function;
    /// Whether the C library's expressions are entered with patterns for which it does not survive
    /// exhausted memory, or with a subject, for which it then says "no match".
    bool sparesExpressions;
    /// Prepares, attempts, and checks: the result, or that nothing has changed without memory.
    void (*use)(Attempt& attempt, Inputs const& in);
};

std::vector<PublicCall> const& publicCalls();

}  // namespace zeb::test
