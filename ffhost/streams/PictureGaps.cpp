#include "ffhost/streams/PictureGaps.h"

namespace Tessor::Host
{

using namespace Proc;

SP<IStreamVideo> PictureGaps::Create(const SP<IStreamVideo>& parent, const GapLimit& gaps)
{
    return SP<IStreamVideo>(new PictureGaps(parent, gaps));
}

SP<IDataVideo> PictureGaps::ReadInternal()
{
    const SP<IDataVideo> picture = parentStream->Read();
    if (!picture)
        return nullptr;
    picture->SetPTS(SubTime(picture->GetPTS(), closed));
    const avTime surplus = SubTime(picture->GetDuration(), gaps.longest);
    if (picture->GetDuration() == NoTime || surplus <= 0)
        return picture;
    picture->SetDuration(gaps.longest);
    closed = AddTime(closed, surplus);
    if (gaps.closed)
        gaps.closed(picture->GetPTS(), AddTime(gaps.longest, surplus));
    return picture;
}

void PictureGaps::RequestSeekInternal(avTime target, SP<IStream> partner)
{
    closed = 0;
    Relay::RequestSeekInternal(target, partner);
}

} // namespace Tessor::Host
