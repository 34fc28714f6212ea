#pragma once

#include <algorithm>
#include <cctype>
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

/// A name as part of a test's name, which may hold letters, digits and underscores only.
inline std::string ToTestName(std::string name)
{
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
    return name;
}

} // namespace Tessor::Test

/// Skips a test, or all tests of a fixture when in its SetUp, where a clip is missing.
#define TESSOR_SKIP_WITHOUT(name)                                                                                      \
    do                                                                                                                 \
    {                                                                                                                  \
        if (!std::filesystem::exists(Tessor::Test::ClipPath(name)))                                                    \
            GTEST_SKIP() << (name) << " is missing";                                                                   \
    } while (false)
