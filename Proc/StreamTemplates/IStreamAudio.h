#pragma once

#include "Proc/StreamTemplates/IStream.h"
#include "media/formats/IFormatCodecAudio.h"
#include "media/items/IDataAudio.h"

namespace Tessor::Proc
{

/// A stream of blocks of decoded samples.
class TESSOR_API IStreamAudio : public virtual IStream
{
public:
    using Item = IDataAudio;
    using Format = Conf::IFormatCodecAudio;

    /// The next item, null at the end.
    virtual SP<IDataAudio> Read() = 0;
    virtual SP<Conf::IFormatCodecAudio> GetFormatCodec() const = 0;

    SP<Conf::IFormatCodec> GetFormatCodecBase() const override { return GetFormatCodec(); }
};

} // namespace Tessor::Proc
