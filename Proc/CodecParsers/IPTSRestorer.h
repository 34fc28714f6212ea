#pragma once

#include "media/items/IDataPacket.h"

#include <utility>

namespace Tessor::Proc::CodecParsers
{

/// Times of a packet, as a restorer derived them.
struct ExternalTS
{
    avTime pts = NoTime;
    avTime dts = NoTime;
};

/// Rebuilds presentation times of a stream that lacks them. Push packets in decoding order, null at the end; Pull what
/// is finished, a null packet when nothing is.
class TESSOR_API IPTSRestorer
{
public:
    virtual ~IPTSRestorer() = default;
    virtual void Push(const SP<const IDataPacket>& packet) = 0;
    virtual std::pair<SP<const IDataPacket>, ExternalTS> Pull() = 0;
    virtual void Reset() = 0;
};

} // namespace Tessor::Proc::CodecParsers
