#pragma once
// A test that needs root (mounts, device nodes, dropping privileges) skips without
// it, except where CI runs as root with RINGFOLD_REQUIRE_ROOT_TESTS=1: there it
// fails, so a broken set-up can't pass as a skip.

#include <cstdlib>
#include <cstring>

namespace ringfold::test {
inline bool rootTestsRequired() {
    const char* v = std::getenv("RINGFOLD_REQUIRE_ROOT_TESTS");
    return v && std::strcmp(v, "1") == 0;
}
} // namespace ringfold::test

#define SKIP_OR_FAIL_GTEST(why)                                                              \
    do {                                                                                     \
        if (::ringfold::test::rootTestsRequired())                                           \
            FAIL() << "required here: " << (why);                                            \
        GTEST_SKIP() << (why);                                                               \
    } while (0)

#define SKIP_OR_FAIL_QTEST(why)                                                              \
    do {                                                                                     \
        if (::ringfold::test::rootTestsRequired())                                           \
            QFAIL(qPrintable(QStringLiteral("required here: ") + QString(why)));             \
        QSKIP(qPrintable(QString(why)));                                                     \
    } while (0)
