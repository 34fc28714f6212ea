#pragma once

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace Tessor::Test
{

/// Where a clip lies: one that scripts/make-samples makes for the tests, which is always there, or a real one, which a
/// machine may have in a folder of clips beside the checkout or beside the folder of a working tree.
std::string ClipPath(const std::string& name);

/// The names of all clips that scripts/make-samples makes for the tests, or of those with that part.
std::vector<std::string> Samples(const std::string& part = "");

/// The same of the real clips of this machine; most have none.
std::vector<std::string> RealClips(const std::string& part = "");

/// A name as part of a test's name, which may hold letters, digits and underscores only.
std::string ToTestName(std::string name);

/// Of a test whose parameter is a clip's name.
inline std::string ClipName(const testing::TestParamInfo<std::string>& info)
{
    return ToTestName(info.param);
}

} // namespace Tessor::Test
