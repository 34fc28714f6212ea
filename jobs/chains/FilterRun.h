#pragma once

#include "ffhost/streams/KnownLength.h"
#include "jobs/chains/FilterCatalog.h"

#include <algorithm>
#include <functional>
#include <map>
#include <vector>

namespace Tessor::Jobs
{

/// Makes the filters of a chain one after the other. Where one works by how long its source lasts, and nobody can tell
/// because of what stands before it, the source is made a second time and read to its end, for its length alone.
template <class Kind>
class FilterRun
{
public:
    /// Opens the stream that the chain starts with, apart from all others of the same file.
    using Opener = std::function<SP<Kind>()>;
    using Maker = std::function<SP<Kind>(const FilterStep&, const SP<Kind>&)>;

    FilterRun(const std::vector<FilterStep>& steps, const Factories& factories, Opener open)
        : steps(steps), factories(factories), open(std::move(open))
    {
    }

    /// The whole chain after `stream`.
    SP<Kind> Make(const SP<Kind>& stream)
    {
        return Make(stream, steps.size(),
                    [this](const FilterStep& step, const SP<Kind>& source)
                    { return MakeFilter(step, source, factories); });
    }
    /// The same where `make` makes the filters.
    SP<Kind> Make(const SP<Kind>& stream, const Maker& make) { return Make(stream, steps.size(), make); }

private:
    SP<Kind> Make(SP<Kind> stream, size_t count, const Maker& make)
    {
        for (size_t i = 0; i < count; ++i)
        {
            if (NeedsLength(steps[i]) && stream->GetDuration() == NoTime)
                stream = Host::KnownLength<Kind>::Create(stream, FindLength(i));
            stream = make(steps[i], stream);
        }
        return stream;
    }

    /// Of the source of that step.
    avTime FindLength(size_t index)
    {
        const auto known = lengths.find(index);
        if (known != lengths.end())
            return known->second;
        const SP<Kind> source = Make(open(), index,
                                     [this](const FilterStep& step, const SP<Kind>& stream)
                                     { return MakeFilter(step, stream, factories); });
        return lengths[index] = Measure(*source);
    }

    static avTime Measure(Kind& stream)
    {
        stream.RequestSeek(0, nullptr);
        stream.DoSeek();
        avTime end = 0;
        while (const auto item = stream.Read())
            end = std::max(end, AddTime(item->GetPTS(), item->GetDuration()));
        return end;
    }

    const std::vector<FilterStep>& steps;
    const Factories& factories;
    const Opener open;
    std::map<size_t, avTime> lengths; // found out, by the step that they are for
};

} // namespace Tessor::Jobs
