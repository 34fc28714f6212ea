#pragma once

#include "Proc/StreamTemplates/IStreamRaw.h"

#include <vector>

namespace Tessor::Bench
{

/// A list of items that exist beforehand, over and over without end, and nothing else, so that only what reads them is
/// timed.
template <class Kind>
class LoopStream : public virtual Kind, public RefCountImpl
{
public:
    using Item = typename Kind::Item;
    using Format = typename Kind::Format;

    LoopStream(const SP<Format>& format, const std::vector<SP<Item>>& items) : format(format), items(items) {}

    SP<Item> Read() override
    {
        if (next == items.size())
            next = 0;
        return items[next++];
    }
    SP<Proc::IData> ReadStream() override { return Read(); }
    SP<Format> GetFormatCodec() const override { return format; }
    void Initialize(const Core::Property&) override {}
    Core::Property GetSettings() const override { return Core::Property(); }
    avTime GetDuration() const override { return NoTime; }
    avTime GetPosition() override { return NoTime; }
    void RequestSeek(avTime, SP<Proc::IStream>) override {}
    void DoSeek() override { next = 0; }
    bool GetSeekResult() override { return true; }
    Core::Property GetStatistic() const override { return Core::Property(); }
    void Terminate() override {}
    bool IsTerminated() const override { return false; }
    void ReleaseInternalData() override {}
    void Accept(Proc::IStreamVisitor&) override {}

private:
    const SP<Format> format;
    const std::vector<SP<Item>> items;
    size_t next = 0;
};

class LoopPackets final : public LoopStream<Proc::IStreamRaw>
{
public:
    using LoopStream::LoopStream;
    MediaType GetMediaType() const override { return MediaType::Video; }
};

} // namespace Tessor::Bench
