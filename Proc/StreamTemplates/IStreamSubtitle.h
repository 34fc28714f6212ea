#pragma once

#include "Proc/StreamTemplates/IStream.h"
#include "media/formats/IFormatCodecSubtitle.h"
#include "media/items/IDataSubtitle.h"

namespace Tessor::Proc
{

/// A stream of decoded subtitles.
class TESSOR_API IStreamSubtitle : public virtual IStream
{
public:
    using Item = IDataSubtitle;
    using Format = Conf::IFormatCodecSubtitle;

    /// The next item, null at the end.
    virtual SP<IDataSubtitle> Read() = 0;
    virtual SP<Conf::IFormatCodecSubtitle> GetFormatCodec() const = 0;

    SP<Conf::IFormatCodec> GetFormatCodecBase() const override { return GetFormatCodec(); }
};

} // namespace Tessor::Proc
