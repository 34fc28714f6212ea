#pragma once

#include "Proc/StreamTemplates/IStreamAudio.h"

namespace Tessor::Proc
{

/// The weighted sum of any number of streams, in the format in which all of them meet. Blocks are added as the streams
/// deliver them: nothing is aligned in time.
///
/// A stream is named by its place among the others: removing one moves those after it down. Volumes are in percent,
/// with no bounds: a negative one inverts. An unknown identifier throws std::out_of_range.
///
/// Threads: one at a time, reads included.
class TESSOR_API IFilterAudioMixer : public virtual IStreamAudio
{
public:
    using Index = uint32_t;

    inline static const std::string CLASS_ID = "IFilterAudioMixer";
    static constexpr Index NO_STREAM = 0xFFFFFFFF;

    /// Throws FilterException for a stream without a format.
    virtual Index AddStream(SP<IStreamAudio> stream, int volume) = 0;
    /// NO_STREAM is ignored.
    virtual void RemoveStream(Index id) = 0;
    virtual void RemoveStream(SP<IStreamAudio> stream) = 0;
    /// The first place of that very stream, or NO_STREAM.
    virtual Index GetStreamId(SP<IStreamAudio> stream) const = 0;
    /// From the next read on.
    virtual void SetVolume(SP<IStreamAudio> stream, int volume) = 0;
    virtual void SetVolume(Index id, int volume) = 0;
    /// To be called when the format of a stream has changed.
    virtual void UpdateResampleSettings() = 0;
};

} // namespace Tessor::Proc
