// Table-driven argument checks. Each row calls one function on a set of
// canary-filled buffers and names the status its first failed check must
// return; the test also verifies that the call wrote nothing at all.
#ifndef KELSC_TESTS_ARG_CHECKS_H
#define KELSC_TESTS_ARG_CHECKS_H

#include <gtest/gtest.h>
#include <string.h>

#include <ostream>
#include <string>

#include "kelsc.h"

namespace kelsc_test {

// Buffers: every array a row's call may touch; its constructor fills the
// whole object with a canary pattern.
template <typename Buffers>
struct CheckCase {
    const char* what;
    KelStatus want;
    KelStatus (*call)(Buffers&);
};

// A row: the expected status and the call, written with the buffers as x.
#define KEL_CHECK_CASE(Buffers, want, expr)           \
    kelsc_test::CheckCase<Buffers> {                  \
#expr, want, [](Buffers& x) { (void)x; return expr; } \
    }

template <typename Buffers>
void expectCheck(const CheckCase<Buffers>& c) {
    Buffers buffers;
    const Buffers before = buffers;
    EXPECT_EQ(c.call(buffers), c.want) << c.what;
    EXPECT_EQ(memcmp(&before, &buffers, sizeof(Buffers)), 0) << c.what << " wrote on failure";
}

template <typename Buffers>
void PrintTo(const CheckCase<Buffers>& c, std::ostream* os) {
    *os << c.what;
}

// Test names: the function's name and the row's position.
template <typename Buffers>
std::string checkCaseName(const ::testing::TestParamInfo<CheckCase<Buffers>>& info) {
    const std::string what = info.param.what;
    return what.substr(0, what.find('(')) + "_" + std::to_string(info.index);
}

}  // namespace kelsc_test

#endif  // KELSC_TESTS_ARG_CHECKS_H
