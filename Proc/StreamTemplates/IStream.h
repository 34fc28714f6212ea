#pragma once

#include "Fnd/Property/Property.h"
#include "Fnd/RefCount.h"
#include "Fnd/Time.h"
#include "media/formats/IFormatCodec.h"
#include "media/items/IData.h"

namespace Tessor::Proc
{

class IStreamVisitor;

/// A stream that is pulled. A consumer calls, in this order: Initialize where it is needed; then any number of times:
/// RequestSeek on every stream of the graph that is to move, DoSeek on each of them, perhaps GetSeekResult, and Read
/// until a null item. Failures are exceptions; the end of a stream is a null item. One thread reads; Terminate may
/// come from any thread.
class TESSOR_API IStream : public virtual IRefCountable
{
public:
    ~IStream() override = default;

    /// Configures the stream from a tree whose keys belong to the filter.
    virtual void Initialize(const Core::Property& settings) = 0;
    virtual Core::Property GetSettings() const = 0;
    /// The whole stream, NoTime when unknown.
    virtual avTime GetDuration() const = 0;
    /// Where the next read stands: the first item's start before a read, the last item's end after one.
    virtual avTime GetPosition() = 0;
    /// Read() in its neutral form.
    virtual SP<IData> ReadStream() = 0;
    /// Phase one of a seek. The partner is carried up the chain untouched.
    virtual void RequestSeek(avTime target, SP<IStream> partner) = 0;
    /// Phase two of a seek.
    virtual void DoSeek() = 0;
    virtual bool GetSeekResult() = 0;
    virtual SP<Conf::IFormatCodec> GetFormatCodecBase() const = 0;
    /// One record a filter, source first.
    virtual Core::Property GetStatistic() const = 0;
    /// Asks the stream, and all above it, to stop.
    virtual void Terminate() = 0;
    /// True once terminated and until the next seek.
    virtual bool IsTerminated() const = 0;
    /// Drops buffered items and held resources.
    virtual void ReleaseInternalData() = 0;
    /// Walks the chain from here to the source with a visitor.
    virtual void Accept(IStreamVisitor& visitor) = 0;
};

} // namespace Tessor::Proc
