#pragma once

#include "Proc/StreamTemplates/IStream.h"
#include "media/formats/IFormatCodecVideo.h"
#include "media/items/IDataVideo.h"

namespace Tessor::Proc
{

/// A stream of decoded frames.
class TESSOR_API IStreamVideo : public virtual IStream
{
public:
    using Item = IDataVideo;
    using Format = Conf::IFormatCodecVideo;

    /// The next item, null at the end.
    virtual SP<IDataVideo> Read() = 0;
    virtual SP<Conf::IFormatCodecVideo> GetFormatCodec() const = 0;

    SP<Conf::IFormatCodec> GetFormatCodecBase() const override { return GetFormatCodec(); }
};

} // namespace Tessor::Proc
