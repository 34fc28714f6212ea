#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <vector>

// FuzzTargets.inc names each target once; its entry point bears the target's own name in this program.
#define TESSOR_FUZZ_ENTRY(name) extern "C" int name(const uint8_t* data, size_t size);
#include "FuzzTargets.inc"
#undef TESSOR_FUZZ_ENTRY

namespace
{

using Target = std::pair<const char*, int (*)(const uint8_t* data, size_t size)>;

const Target Targets[] = {
#define TESSOR_FUZZ_ENTRY(name) {#name, name},
#include "FuzzTargets.inc"
#undef TESSOR_FUZZ_ENTRY
};

class Replay : public testing::TestWithParam<Target>
{
};

} // namespace

// A broken promise aborts the program; what reads outside of its data does under AddressSanitizer.
TEST_P(Replay, Corpus)
{
    const auto& [name, entry] = GetParam();
    const std::filesystem::path folder = std::filesystem::path(TESSOR_SOURCE_DIR "/fuzz/corpus") / name;
    size_t count = 0;
    for (const auto& file : std::filesystem::directory_iterator(folder))
    {
        SCOPED_TRACE(file.path().string());
        std::ifstream in(file.path(), std::ios::binary);
        // Memory of the exact size, as the fuzzer gives it.
        const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
        EXPECT_EQ(entry(bytes.data(), bytes.size()), 0);
        ++count;
    }
    EXPECT_GT(count, 0u) << "no seeds in " << folder;
}

INSTANTIATE_TEST_SUITE_P(Fuzz, Replay, testing::ValuesIn(Targets),
                         [](const auto& info) { return std::string(info.param.first); });
