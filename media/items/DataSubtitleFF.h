#pragma once

#include "media/items/IDataSubtitle.h"

#include <memory>

namespace Tessor::Proc
{

/// A subtitle over a deep copy of FFmpeg's record.
class TESSOR_API DataSubtitleFF final : public IDataSubtitle, public RefCountImpl
{
public:
    /// Copies the record: texts, and of bitmaps the indices with tight rows and a palette of 256 entries. A rectangle
    /// without size, indices or palette keeps none of them.
    static SP<DataSubtitleFF> Create(const AVSubtitle& subtitle, avTime pts, avTime duration);

    avTime GetDuration() const override { return duration; }
    void SetDuration(avTime newDuration) override { duration = newDuration; }
    avTime GetPTS() const override { return pts; }
    void SetPTS(avTime newPts) override { pts = newPts; }
    /// Times only. Throws Exception when the amount is negative or reaches the duration, or a time is unknown.
    void TrimStart(avTime amount) override;
    size_t GetMemorySize() const override;
    void TrimEnd(avTime amount) override;

    SP<IDataSubtitle> Clone(int mode) const override;
    const AVSubtitle& GetAVSubtitle() const override { return *subtitle; }

private:
    DataSubtitleFF(std::shared_ptr<const AVSubtitle> subtitle, avTime pts, avTime duration);

    std::shared_ptr<const AVSubtitle> subtitle; // never changed, so that clones of mode 0 share it
    avTime pts;
    avTime duration;
};

} // namespace Tessor::Proc
