#pragma once

#include "Proc/Filters/Filters/FilterCutController.h"
#include "Proc/Filters/Filters/PacketQueueWithGOP.h"
#include "Proc/StreamTemplates/IStreamCutInterval.h"
#include "Proc/StreamTemplates/IStreamRaw.h"
#include "Proc/StreamTemplates/StreamImpl.h"
#include "host/ICodecFactory.h"

#include <deque>

namespace Tessor::Proc
{

/// The cut stream for compressed packets. It takes time out of a stream without decoding it, a group of pictures at a
/// time:
///
///     kept      |K p p p|K p p p|            passes as it is, only moved in time
///     deleted   |///////|///////|            is dropped, with a jump over it where that pays
///     cut       |K p/////|                   is re-encoded, and only this group; without an encoder it is kept whole
///                                            and the cut moves to its edge for all streams of the file
///
/// Only video is ever re-encoded; packets of other kinds are cut one by one by their time.
///
/// Threads: one thread reads and seeks; during a jump over a long deleted stretch a helper thread reads as well.
class TESSOR_API FilterCutControllerStreamRawImpl final : public virtual IStreamCutInterval,
                                                          public StreamImpl<IStreamRaw, IStreamRaw>,
                                                          public RefCountImpl
{
public:
    /// Searches for an encoder that can stand in for the source's, which reads packets from the source. Throws
    /// Core::NotEnoughResource when the encoder is there but busy: the caller may try again later.
    FilterCutControllerStreamRawImpl(const SP<IStreamRaw>& source, const SP<FilterCutController>& controller,
                                     const SP<ICodecFactory>& factory);
    ~FilterCutControllerStreamRawImpl() override;

    /// True when cuts are exact: the stream can re-encode, or needs no key frames.
    bool CanCutAnywhere() const;
};

} // namespace Tessor::Proc
