#pragma once

#include <clocale>

namespace zeb::test {

/// A locale of the process while it lives, and "C" again at its end.
class WithLocale {
public:
    explicit WithLocale(char const* name) : known_(std::setlocale(LC_ALL, name) != nullptr) {}
    WithLocale(WithLocale const&) = delete;
    WithLocale& operator=(WithLocale const&) = delete;
    ~WithLocale() { std::setlocale(LC_ALL, "C"); }

    /// Whether the machine has it; otherwise nothing has changed.
    bool isKnown() const { return known_; }

private:
    bool known_;
};

}  // namespace zeb::test
