#pragma once

#include "Proc/StreamTemplates/IStreamRaw.h"
#include "Proc/StreamTemplates/StreamImpl.h"

namespace Tessor::Host
{

/// StreamImpl with what only some kinds of streams have.
template <class Kind>
class PassThroughOf : public Proc::StreamImpl<Kind, Kind>
{
public:
    using Proc::StreamImpl<Kind, Kind>::StreamImpl;
};

template <>
class PassThroughOf<Proc::IStreamRaw> : public Proc::StreamImpl<Proc::IStreamRaw, Proc::IStreamRaw>
{
public:
    using StreamImpl::StreamImpl;
    MediaType GetMediaType() const override { return parentStream->GetMediaType(); }
};

/// A stream that hands its parent's items on as they are.
template <class Kind>
class PassThrough : public PassThroughOf<Kind>, public RefCountImpl
{
public:
    using Item = typename Kind::Item;
    using Format = typename Kind::Format;

protected:
    explicit PassThrough(const SP<Kind>& parent) : PassThroughOf<Kind>(parent, false) {}

    void Initialize(const Core::Property&) override {}
    Core::Property GetSettings() const override { return Core::Property(); }
    SP<Format> GetFormatCodec() const override { return this->parentStream->GetFormatCodec(); }
    Core::Property GetStatistic() const override { return this->parentStream->GetStatistic(); }
    void RequestSeekInternal(avTime target, SP<Proc::IStream> partner) override
    {
        this->parentStream->RequestSeek(target, partner);
    }
    void DoSeekInternal() override { this->parentStream->DoSeek(); }
};

} // namespace Tessor::Host
