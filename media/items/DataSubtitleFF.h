#pragma once

#include "media/items/IDataSubtitle.h"
#include "media/items/TimedData.h"

#include <memory>

namespace Tessor::Proc
{

/// A subtitle over a deep copy of FFmpeg's record.
class TESSOR_API DataSubtitleFF final : public Details::TimedData<IDataSubtitle>
{
public:
    /// Copies the record: texts, and of bitmaps the indices with tight rows and a palette of 256 entries. A rectangle
    /// without size, indices or palette keeps none of them.
    static SP<DataSubtitleFF> Create(const AVSubtitle& subtitle, avTime pts, avTime duration);

    size_t GetMemorySize() const override;

    SP<IDataSubtitle> Clone(int mode) const override;
    const AVSubtitle& GetAVSubtitle() const override { return *subtitle; }

private:
    DataSubtitleFF(std::shared_ptr<const AVSubtitle> subtitle, avTime pts, avTime duration);

    std::shared_ptr<const AVSubtitle> subtitle; // never changed, so that clones of mode 0 share it
};

} // namespace Tessor::Proc
