#pragma once

#include "Fnd/Property/Property.h"
#include "media/items/IDataAudio.h"

#include <string>

namespace Tessor::Proc
{

/// Cuts audio into blocks of one length, with times that follow the samples.
class TESSOR_API IAudioFormatter : public virtual IRefCountable
{
public:
    inline static const std::string CLASS_ID = "IAudioFormatter";

    virtual void Initialize(const Core::Property& settings) = 0;
    virtual Core::Property GetSettings() const = 0;
    /// Takes the block in and nulls it.
    virtual void Push(SP<IDataAudio>& block) = 0;
    /// The next block of that duration, null where too little is held. `flush`: then what is left, null for nothing.
    virtual SP<IDataAudio> Get(avTime duration, bool flush) = 0;
    /// Drops what is held; the next block starts where the next one pushed does, or at `time` if that has none.
    virtual void Reset(avTime time) = 0;
    /// Brings what is held to that format, with which the blocks to be pushed come.
    virtual void Convert(const Conf::SampleInfo& format) = 0;
};

} // namespace Tessor::Proc
