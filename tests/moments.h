// Random moments. The seed is new in each run and printed; CORVANE_TEST_SEED in the environment sets it.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

struct Moments {
    unsigned seed;
    std::mt19937 generator;

    explicit Moments(const std::string& what)
    {
        const char* const given = std::getenv("CORVANE_TEST_SEED");
        seed = given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 10))
                                : std::random_device{}();
        generator.seed(seed);
        std::printf("seed of the moments of %s: %u\n", what.c_str(), seed);
        std::fflush(stdout);
    }
    double within(double low, double high)
    {
        return std::uniform_real_distribution<double>(low, high)(generator);
    }
    int among(int low, int high) // both may come
    {
        return std::uniform_int_distribution<int>(low, high)(generator);
    }
};

/// Whether a process has a handler for a signal: false before it has come so far, or if it is gone.
inline bool catches(int process, int signal)
{
    const std::string path = "/proc/" + std::to_string(process) + "/status";
    std::FILE* const file = std::fopen(path.c_str(), "r");
    if (file == nullptr) {
        return false;
    }
    unsigned long long caught = 0;
    char line[256];
    while (std::fgets(line, sizeof line, file) != nullptr) {
        if (std::sscanf(line, "SigCgt: %llx", &caught) == 1) {
            break;
        }
    }
    std::fclose(file);
    return (caught >> (signal - 1) & 1U) != 0;
}
