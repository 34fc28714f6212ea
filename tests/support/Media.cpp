#include "tests/support/Media.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <iterator>
#include <sstream>

namespace Tessor::Test
{

namespace fs = std::filesystem;

namespace
{

fs::path RealFolder()
{
    const fs::path beside = TESSOR_SOURCE_DIR "/../shared/media";
    return fs::is_directory(beside) ? beside : fs::path(TESSOR_SOURCE_DIR "/../../shared/media");
}

std::vector<std::string> WithPart(std::vector<std::string> names, const std::string& part)
{
    std::erase_if(names, [&](const std::string& name) { return name.find(part) == std::string::npos; });
    return names;
}

} // namespace

std::string ClipPath(const std::string& name)
{
    const std::vector<std::string> samples = Samples();
    const bool isSample = std::find(samples.begin(), samples.end(), name) != samples.end();
    return (isSample ? fs::path(TESSOR_SAMPLES) : RealFolder()) / name;
}

std::vector<std::string> Samples(const std::string& part)
{
    std::istringstream names(TESSOR_SAMPLE_NAMES);
    return WithPart({std::istream_iterator<std::string>(names), {}}, part);
}

std::vector<std::string> RealClips(const std::string& part)
{
    std::vector<std::string> names;
    if (fs::is_directory(RealFolder()))
        for (const auto& entry : fs::directory_iterator(RealFolder()))
            if (entry.path().extension() != ".tsv")
                names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return WithPart(names, part);
}

std::string ToTestName(std::string name)
{
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
    return name;
}

} // namespace Tessor::Test
