// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Benchmarks/Common/Require.h"

#include <fstream>
#include <sstream>
#include <string>

namespace zelvane {

/// What a process takes of the machine's memory, in MB.
struct MemoryUse {
    double resident = 0;      ///< all pages that are there, shared or not
    double proportional = 0;  ///< shared pages counted by the share
    double own = 0;           ///< pages that no other process has

    /// Of a process by its number, or of "self".
    static MemoryUse of(const std::string& process) {
        std::ifstream rollup("/proc/" + process + "/smaps_rollup");
        require(rollup.is_open(), "the kernel tells nothing of the memory of process " + process);
        MemoryUse use;
        for (std::string line; std::getline(rollup, line);) use.read(line);
        return use;
    }

    MemoryUse operator-(const MemoryUse& before) const {
        return {resident - before.resident, proportional - before.proportional, own - before.own};
    }

  private:
    void read(const std::string& line) {
        std::istringstream words(line);
        std::string name;
        double kilobytes = 0;
        words >> name >> kilobytes;
        const double megabytes = kilobytes / 1024;
        if (name == "Rss:") resident = megabytes;
        if (name == "Pss:") proportional = megabytes;
        if (name == "Private_Clean:" || name == "Private_Dirty:") own += megabytes;
    }
};

}  // namespace zelvane
