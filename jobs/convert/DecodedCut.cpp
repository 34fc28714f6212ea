#include "jobs/convert/DecodedCut.h"

#include "ffhost/codecs/CodecFactory.h"
#include "ffhost/streams/PictureParts.h"
#include "ffhost/streams/SoundParts.h"
#include "jobs/cut/KeptRanges.h"

namespace Tessor::Jobs
{

using namespace Proc;

DecodedCut::DecodedCut(const std::vector<Range>& ranges, avTime duration)
    : ranges(ranges), timeline(KeepRanges(ranges, duration))
{
    // an item that a bound lies in is parted there before the cut, which takes or leaves whole items
    for (size_t i = 1; i < timeline.GetCount(); ++i)
        bounds.push_back(timeline.GetInterval(i).start);
}

SP<FilterCutController> DecodedCut::MakeController() const
{
    // without use here, where nothing is encoded anew
    return FilterCutController::Create(SP<CutIntervals>(new CutIntervals(timeline)), Host::CodecFactory::Create());
}

SP<IStreamVideo> DecodedCut::Cut(const SP<IStreamVideo>& source) const
{
    return MakeController()->AddStream(Host::PictureParts::Create(source, bounds));
}

SP<IStreamAudio> DecodedCut::Cut(const SP<IStreamAudio>& source) const
{
    return MakeController()->AddStream(Host::SoundParts::Create(source, bounds));
}

SP<IStreamRaw> DecodedCut::Cut(const SP<IStreamRaw>& source) const
{
    return MakeController()->AddStream(source);
}

bool DecodedCut::Keeps(avTime start, avTime end) const
{
    // deleted time has no length in the result
    return timeline.Source2Result(start != NoTime ? start : 0) <
           timeline.Source2Result(end != NoTime ? end : MAX_DURATION);
}

} // namespace Tessor::Jobs
