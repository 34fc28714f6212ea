#pragma once

#include "media/items/IBlob.h"
#include "media/items/IData.h"

struct AVPacket;

namespace Tessor::Proc
{

/// A compressed packet.
class TESSOR_API IDataPacket : public virtual IData
{
public:
    virtual avTime GetDTS() const = 0;
    virtual void SetDTS(avTime dts) = 0;
    /// The time by which the packet is ordered in its stream: an explicit value if one was set, else PTS, else DTS.
    virtual avTime GetPosition() const = 0;
    virtual bool IsKeyFrame() const = 0;
    /// Bytes of the payload.
    virtual int GetSize() const = 0;
    /// A packet with times and flags of its own over the same bytes, with all side data.
    virtual SP<IDataPacket> Clone() const = 0;
    /// The payload.
    virtual SP<const IBlob> GetBlob() const = 0;
    /// The FFmpeg record, whose fields a filter may edit. Its times are the packet's, in microseconds.
    virtual AVPacket* GetAVPacket() const = 0;
    /// Sets an explicit position, which SetPTS moves along; NoTime unsets it.
    virtual void SetPosition(avTime position) = 0;
    /// Start of the payload.
    virtual const uint8_t* GetData() const = 0;
};

} // namespace Tessor::Proc
