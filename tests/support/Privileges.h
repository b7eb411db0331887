#pragma once
// A test that needs root skips without it, except where RINGFOLD_REQUIRE_ROOT_TESTS=1 (CI,
// which runs as root): there it fails, so a broken set-up cannot hide as a skip.

#include <cstdlib>
#include <cstring>

namespace ringfold::test {

inline bool rootTestsRequired() {
    const char* v = std::getenv("RINGFOLD_REQUIRE_ROOT_TESTS");
    return v && std::strcmp(v, "1") == 0;
}

} // namespace ringfold::test

#define SKIP_OR_FAIL_GTEST(why)                                                                    \
    do {                                                                                           \
        if (::ringfold::test::rootTestsRequired())                                                 \
            FAIL() << "required here (RINGFOLD_REQUIRE_ROOT_TESTS=1): " << (why);                  \
        GTEST_SKIP() << (why);                                                                     \
    } while (0)

#define SKIP_OR_FAIL_QTEST(why)                                                                    \
    do {                                                                                           \
        if (::ringfold::test::rootTestsRequired())                                                 \
            QFAIL(qPrintable(QStringLiteral("required here (RINGFOLD_REQUIRE_ROOT_TESTS=1): ") +   \
                             QString(why)));                                                       \
        QSKIP(qPrintable(QString(why)));                                                           \
    } while (0)
