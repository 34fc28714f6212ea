#pragma once

#include "Proc/StreamTemplates/IStreamAudioEx.h"

namespace Tessor::Proc
{

/// Cuts a stream into blocks of one duration.
class TESSOR_API IFilterAudioFormatter : public virtual IStreamAudioEx
{
public:
    inline static const std::string CLASS_ID = "IFilterAudioFormatter";
    inline static const std::string PACKET_DURATION = "PacketDuration"; ///< int64, microseconds

    /// Of the blocks from the next one on. Throws std::invalid_argument for a duration that is not above 0.
    virtual void SetPacketDuration(avTime duration) = 0;
    /// The parent's format has changed: what is held of the former one turns to it, so that blocks keep their duration.
    virtual void SetFormat(const Conf::SampleInfo& format) = 0;
};

} // namespace Tessor::Proc
