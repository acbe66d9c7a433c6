#pragma once

#include <fstream>
#include <string>

/// Memory of the process, in bytes, as the system counts it.
struct Memory {
    double peak = 0.0;
    double now = 0.0;

    static Memory ofProcess() {
        std::ifstream status("/proc/self/status");
        Memory memory;
        for (std::string word; status >> word;) {
            if (word == "VmHWM:") {
                status >> memory.peak;
            } else if (word == "VmRSS:") {
                status >> memory.now;
            }
        }
        return {1024.0 * memory.peak, 1024.0 * memory.now};
    }
};
