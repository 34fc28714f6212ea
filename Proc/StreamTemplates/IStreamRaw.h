#pragma once

#include "Proc/StreamTemplates/IStream.h"
#include "media/formats/MediaType.h"
#include "media/items/IDataPacket.h"

namespace Tessor::Proc
{

/// A stream of compressed packets.
class TESSOR_API IStreamRaw : public virtual IStream
{
public:
    using Item = IDataPacket;
    using Format = Conf::IFormatCodec;

    /// The next packet in decoding order, null at the end.
    virtual SP<IDataPacket> Read() = 0;
    virtual MediaType GetMediaType() const = 0;
    virtual SP<Conf::IFormatCodec> GetFormatCodec() const = 0;

    SP<Conf::IFormatCodec> GetFormatCodecBase() const override { return GetFormatCodec(); }
};

} // namespace Tessor::Proc
