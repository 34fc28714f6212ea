#pragma once

#include "Proc/StreamTemplates/IStreamRaw.h"
#include "Proc/StreamTemplates/PassThrough.h"

namespace Tessor::Host
{

/// PassThrough with what only some kinds of streams have.
template <class Kind>
class RelayOf : public Proc::PassThrough<Kind>
{
protected:
    using Proc::PassThrough<Kind>::PassThrough;
};

template <>
class RelayOf<Proc::IStreamRaw> : public Proc::PassThrough<Proc::IStreamRaw>
{
public:
    MediaType GetMediaType() const override { return parentStream->GetMediaType(); }

protected:
    using PassThrough::PassThrough;
};

/// A stream that hands its parent's items on as they are.
template <class Kind>
class Relay : public RelayOf<Kind>, public RefCountImpl
{
public:
    using Item = typename Kind::Item;
    using Format = typename Kind::Format;

protected:
    using RelayOf<Kind>::RelayOf;

    void Initialize(const Core::Property&) override {}
    Core::Property GetSettings() const override { return Core::Property(); }
    SP<Format> GetFormatCodec() const override { return this->parentStream->GetFormatCodec(); }
    Core::Property GetStatistic() const override { return this->parentStream->GetStatistic(); }
};

} // namespace Tessor::Host
