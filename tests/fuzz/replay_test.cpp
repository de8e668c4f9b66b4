// The fuzz target's checks on a fixed set of pseudo-random inputs, so that
// every build of the suite runs them (a fuzz run itself needs clang).
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

TEST(HostileInput, FixedInputsPassTheFuzzChecks)
{
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i) {  // a failing input aborts with the call and its changes
        std::vector<std::uint8_t> input(random() % 48);
        for (auto& b : input) b = std::uint8_t(random());
        LLVMFuzzerTestOneInput(input.data(), input.size());
    }
}
