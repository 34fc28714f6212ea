#include "jobs/detect/ProbeReport.h"

#include <algorithm>

namespace Tessor::Jobs
{

std::string ProbeTrack::GetLanguage() const
{
    const auto language =
        std::find_if(tags.begin(), tags.end(), [](const auto& tag) { return tag.first == "language"; });
    return language == tags.end() || language->second == "und" ? "" : language->second;
}

long long ProbeCutting::CountPictures() const
{
    long long count = 0;
    for (const Group& group : groups)
        count += static_cast<long long>(group.pictures.size());
    return count;
}

long long ProbeCutting::CountOpen() const
{
    return std::count_if(groups.begin(), groups.end(), [](const Group& group) { return group.IsOpen(); });
}

long long ProbeCutting::GetLongest() const
{
    size_t longest = 0;
    for (const Group& group : groups)
        longest = std::max(longest, group.pictures.size());
    return static_cast<long long>(longest);
}

} // namespace Tessor::Jobs
