// A program of its own, because its malloc takes the place of the C library's: each allocation of a
// search fails once, in child processes, because libc may crash in the search that meets it. What
// is promised is that the expression is sound afterwards.

#include <OrventoCommonRegex.hpp>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <fstream>
#include <new>
#include <string>
#include <vector>

#include "FailingMalloc.hpp"

namespace {

using ZEBNS2::RegularExpression;
using ZEBNS2::String;

/// The report of a child process, even when it dies.
struct Report {
    long refusal;     ///< the allocation that fails
    long refusals;    ///< how many have failed
    long wrong;       ///< searches with another answer after a failure
    long changed;     ///< searches that changed errno
    bool searching;   ///< with an allocation that fails
    bool isComplete;  ///< no allocation was left to fail
};

struct Crashes {
    long inTheSearch = 0;
    long later = 0;
};

/// All that an expression finds.
std::string answer(RegularExpression const& expression, String const& subject) {
    std::string text;
    for (auto const& [start, end] : expression.all_matches(subject)) {
        text += std::to_string(start) + ',' + std::to_string(end) + ' ';
    }
    auto const [start, end] = expression.first_match(subject.c_str());
    return text + std::to_string(start) + ':' + std::to_string(end);
}

/// Continues with the allocation `report.refusal` until none is left to fail.
void failEach(String const& pattern, unsigned int options, String const& subject, bool wantsGroups,
              Report& report) {
    std::string const right = answer(RegularExpression(pattern, options), subject);
    for (; !report.isComplete; ++report.refusal) {
        RegularExpression const expression(pattern, options);
        long const before = zeb::test::allocationsRefused;
        report.searching = true;
        zeb::test::failsOnce = true;
        zeb::test::allocationsLeft = report.refusal;
        errno = EDOM;
        try {
            static_cast<void>(wantsGroups ? expression.all_matches(subject).size() != 0
                                          : expression.matches(subject));
            report.changed += errno == EDOM ? 0 : 1;
        } catch (std::bad_alloc const&) {
        }
        zeb::test::allocationsLeft = zeb::test::UNLIMITED;
        report.searching = false;
        report.isComplete = zeb::test::allocationsRefused == before;
        report.refusals += report.isComplete ? 0 : 1;
        for (int i = 0; i < 2 && !report.isComplete; ++i) {
            report.wrong += answer(expression, subject) == right ? 0 : 1;
        }
    }
}

class LibcExhaustion : public testing::Test {
protected:
    LibcExhaustion()
        : report_(static_cast<Report*>(::mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE,
                                              MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {}
    ~LibcExhaustion() override { ::munmap(report_, sizeof(Report)); }

    void tryPattern(std::string const& pattern, unsigned int options, std::string const& subject) {
        for (bool const wantsGroups : {false, true}) {
            report_->refusal = 0;
            report_->isComplete = false;
            while (!report_->isComplete) {
                runChild(pattern, options, subject, wantsGroups);
            }
        }
    }

    void runChild(std::string const& pattern, unsigned int options, std::string const& subject,
                  bool wantsGroups) {
        pid_t const child = ::fork();
        ASSERT_NE(child, -1);
        if (child == 0) {
            rlimit const none{0, 0};
            ::setrlimit(RLIMIT_CORE, &none);
            ::close(STDERR_FILENO);  // where libc reports its broken heap
            failEach(String(pattern), options, String(subject), wantsGroups, *report_);
            ::_exit(0);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        if (status != 0) {
            ++(report_->searching ? crashes_.inTheSearch : crashes_.later);
            ++report_->refusals;
            ++report_->refusal;
        }
    }

    Report* report_;
    Crashes crashes_;
};

constexpr char const* SUBJECT =
    "Jun 12 10:11:12 host sshd[12]: Failed password for root from 10.0.0.1 port 22, 12,12 aab";

TEST_F(LibcExhaustion, ExpressionsWithoutBackReferencesSurviveItAndAnswerAsBefore) {
    std::ifstream file(ZEB_PATTERNS "/real-life.txt");
    ASSERT_TRUE(file);
    int patterns = 0;
    int number = 0;
    for (std::string line; std::getline(file, line);) {
        bool const isPattern = line.size() > 2 && (line[0] == 'E' || line[0] == 'B');
        // One in sixteen; long counts take libc long to compile.
        if (!isPattern || line.find("\\1") != std::string::npos ||
            line.find("\\2") != std::string::npos || line.find(",2") != std::string::npos ||
            line.find("00}") != std::string::npos || ++number % 16 != 0) {
            continue;
        }
        SCOPED_TRACE(line);
        tryPattern(line.substr(2), line[0] == 'B' ? RegularExpression::BASIC_SYNTAX : 0, SUBJECT);
        ++patterns;
        ASSERT_EQ(crashes_.inTheSearch + crashes_.later, 0);
        ASSERT_EQ(report_->wrong, 0);
        ASSERT_EQ(report_->changed, 0);
    }
    EXPECT_GT(patterns, 25);
    EXPECT_GT(report_->refusals, 500);
}

TEST_F(LibcExhaustion, ExpressionsWithBackReferencesAnswerAsBeforeIfTheProcessLives) {
    for (char const* pattern : {"(.[^,]a,)\\1", "([0-9]+),\\1", "\\b([a-z])\\1"}) {
        SCOPED_TRACE(pattern);
        tryPattern(pattern, 0, "12,12 aab");
    }
    EXPECT_EQ(report_->wrong, 0);
    EXPECT_EQ(report_->changed, 0);
    EXPECT_GT(report_->refusals, crashes_.inTheSearch + crashes_.later);
}

}  // namespace
