#pragma once

#include <chrono>
#include <cstdlib>

#include <gtest/gtest.h>

namespace test
{
/// Runs a stress once; with ZR_SOAK_SECONDS in the environment again and again for that long, or until it fails.
inline void soak(void (*stress)())
{
    const char* const wanted = std::getenv("ZR_SOAK_SECONDS");
    const std::chrono::duration<double> length(wanted ? std::atof(wanted) : 0.0);
    const auto start = std::chrono::steady_clock::now();
    do
        stress();
    while (!testing::Test::HasFailure() && std::chrono::steady_clock::now() - start < length);
}
} // namespace test

/// A test of a structure's invariant under many threads, which a soak repeats.
#define STRESS_TEST(suite, name)                                                                                       \
    static void suite##name();                                                                                         \
    TEST(suite, name)                                                                                                  \
    {                                                                                                                  \
        test::soak(suite##name);                                                                                       \
    }                                                                                                                  \
    static void suite##name()
