#pragma once

#include <filesystem>
#include <string>

namespace Tessor::Test
{

/// Path of a real clip. The folder of clips lies beside the checkout, or beside the folder of a working tree; a file
/// that is in neither does not exist under the path given.
inline std::string ClipPath(const std::string& name)
{
    const std::filesystem::path beside = TESSOR_SOURCE_DIR "/../shared/media/" + name;
    return std::filesystem::exists(beside) ? beside.string() : TESSOR_SOURCE_DIR "/../../shared/media/" + name;
}

} // namespace Tessor::Test

/// Skips a test, or all tests of a fixture when in its SetUp, where a clip is missing.
#define TESSOR_SKIP_WITHOUT(name)                                                                                      \
    do                                                                                                                 \
    {                                                                                                                  \
        if (!std::filesystem::exists(Tessor::Test::ClipPath(name)))                                                    \
            GTEST_SKIP() << (name) << " is missing";                                                                   \
    } while (false)
