#include "jobs/InputDamage.h"

#include "Fnd/Plural.h"

#include <numeric>

namespace Tessor::Jobs
{

namespace
{

long long CountUndecodable(const Core::Property& record)
{
    if (record.GetType() != Core::Property::TypeNode)
        return record.GetName() == "Damaged" ? record.GetInt64() : 0;
    return std::accumulate(record.begin(), record.end(), 0LL,
                           [](long long sum, const Core::Property& child) { return sum + CountUndecodable(child); });
}

} // namespace

void AddDamage(const std::string& path, const Host::Damage& damage, std::vector<std::string>& warnings)
{
    if (damage.IsNone())
        return;
    std::string text = path + ": damaged after " + T2S(damage.after);
    if (damage.packets > 0)
        text += ": " + Count(damage.packets, "damaged packet");
    if (damage.promised != NoTime)
        text += ": the end of the file is missing, which is to last " + T2S(damage.promised);
    warnings.push_back(text);
}

void AddUndecodable(const std::string& what, long long count, std::vector<std::string>& warnings)
{
    if (count > 0)
        warnings.push_back(what + ", " + Count(count, "packet") + " could not be decoded without faults: damaged");
}

void AddUndecodable(const Statistics& statistics, std::vector<std::string>& warnings)
{
    for (const TrackStatistics& track : statistics)
        AddUndecodable("of track " + std::to_string(track.track), CountUndecodable(track.filters), warnings);
}

} // namespace Tessor::Jobs
