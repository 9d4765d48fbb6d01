// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <errno.h>

#include <cstdio>
#include <stdexcept>
#include <string>

namespace zelvane {

/// Why a benchmark can't go on: a figure of a broken set-up is none.
class BenchmarkFailure : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

inline void require(bool holds, const std::string& what) {
    if (!holds) throw BenchmarkFailure(what);
}

/// Runs a benchmark for `main`. A failure is told after the servers and programs that it started were ended.
template <typename Work>
int runBenchmark(Work work) {
    try {
        work();
        return 0;
    } catch (const BenchmarkFailure& failure) {
        std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, failure.what());
        return 1;
    }
}

}  // namespace zelvane
