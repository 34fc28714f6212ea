#include "ffhost/io/reading/TrackStream.h"

#include "Fnd/Statistics.h"
#include "Proc/StreamTemplates/NotImplemented.h"
#include "Proc/StreamTemplates/Visitors.h"

namespace Tessor::Host
{

namespace
{

// Not inlined: g++ 12 takes the owner's deletion for one of this stream and warns of it.
[[gnu::noinline]] long ReleaseOwner(const IRefCountable& owner)
{
    return owner.Release();
}

} // namespace

long TrackStream::AddRef() const
{
    return owner.AddRef();
}

long TrackStream::GetRefCount() const
{
    return owner.GetRefCount();
}

long TrackStream::Release() const
{
    return ReleaseOwner(owner);
}

void TrackStream::Initialize(const Core::Property&)
{
    Proc::ThrowMethodNotImplemented(TESSOR_HERE);
}

Core::Property TrackStream::GetSettings() const
{
    return {};
}

avTime TrackStream::GetDuration() const
{
    return owner.GetInfo().duration;
}

avTime TrackStream::GetPosition()
{
    return owner.GetPosition(track);
}

void TrackStream::RequestSeek(avTime target, SP<Proc::IStream>)
{
    terminated = false;
    owner.RequestSeek(track, target);
}

void TrackStream::DoSeek()
{
    owner.DoSeek();
}

Core::Property TrackStream::GetStatistic() const
{
    return Core::GetRootItem();
}

void TrackStream::Accept(Proc::IStreamVisitor& visitor)
{
    Proc::Visitors::ProcessStandartVisitors(visitor, "TrackStream", FRAME_ALLOC_NONE, nullptr);
}

SP<Proc::IDataPacket> TrackStream::Read()
{
    return owner.Read(track);
}

MediaType TrackStream::GetMediaType() const
{
    return owner.GetInfo().tracks[static_cast<size_t>(track)].type;
}

SP<Conf::IFormatCodec> TrackStream::GetFormatCodec() const
{
    return owner.GetInfo().tracks[static_cast<size_t>(track)].format;
}

} // namespace Tessor::Host
